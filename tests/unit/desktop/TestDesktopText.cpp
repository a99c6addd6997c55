// Text out and in where the clipboard is the desktop's own (a Wayland session's writer):
// what is written, restored and reported when the keystroke cannot be sent.
#include "core/ManualClock.h"
#include "core/ManualScheduler.h"
#include "desktop/Paster.h"
#include "desktop/SelectionReader.h"
#include "platform/ClipboardWriter.h"
#include "support/FakePlatform.h"

#include <QTest>

namespace {

// The desktop's clipboard as the writer sets it; each write is a change the watcher sees.
struct FakeClipboard : ClipboardWriter
{
    explicit FakeClipboard(FakeClipboardWatcher &watcher) : watcher(watcher) {}
    bool setText(const QString &text) override
    {
        writes << text;
        watcher.ownerText = text;
        ++watcher.count;
        return true;
    }
    bool clear() override
    {
        writes << QStringLiteral("<clear>");
        watcher.ownerText.reset();
        ++watcher.count;
        return true;
    }
    FakeClipboardWatcher &watcher;
    QStringList writes;
};

} // namespace

class TestDesktopText : public QObject
{
    Q_OBJECT
private Q_SLOTS:
    void pasteThroughTheWriter()
    {
        QStringList notes;
        FakeKeySynthesizer keys;
        keys.events = &notes;
        FakeClipboardWatcher watcher;
        FakeClipboard clipboard(watcher);
        ManualClock clock;
        ManualScheduler scheduler(clock);
        Paster paster(keys, scheduler, &clipboard);

        int undelivered = 0;
        const auto counted = [&](Paster::Outcome outcome) {
            undelivered += outcome == Paster::Outcome::unsent;
        };
        paster.paste(QStringLiteral("hello"), counted);
        QCOMPARE(clipboard.writes, QStringList{"hello"});
        scheduler.advance(Paster::pasteDelay);
        QCOMPARE(notes, QStringList{"keys paste"});
        QCOMPARE(undelivered, 0);

        // No keystroke could be sent: the caller hears of it, the text stays copied.
        keys.delivers = false;
        paster.paste(QStringLiteral("again"), counted);
        scheduler.advance(Paster::pasteDelay);
        QCOMPARE(undelivered, 1);
        QCOMPARE(watcher.ownerText, std::optional<QString>(QStringLiteral("again")));

        // A newer paste replaces one not yet sent.
        keys.delivers = true;
        paster.paste(QStringLiteral("first"), counted);
        paster.paste(QStringLiteral("second"));
        scheduler.advance(Paster::pasteDelay);
        QCOMPARE(notes.count("keys paste"), 3);
    }

    void selectionByCopyRestoresTheClipboard()
    {
        FakeKeySynthesizer keys;
        FakeFocusedText focused;
        FakeClipboardWatcher watcher;
        FakeClipboard clipboard(watcher);
        SelectionReader reader(focused, keys, watcher, &clipboard);

        // The focused application copies its selection; the user's text comes back.
        clipboard.setText(QStringLiteral("the user's"));
        keys.onCopy = [&] {
            watcher.ownerText = QStringLiteral("  selected words ");
            ++watcher.count;
        };
        QCOMPARE(reader.viaCopy(), std::optional<QString>(QStringLiteral("selected words")));
        QCOMPARE(clipboard.writes.last(), QStringLiteral("the user's"));

        // An empty clipboard before: left empty after.
        clipboard.clear();
        clipboard.writes.clear();
        QCOMPARE(reader.viaCopy(), std::optional<QString>(QStringLiteral("selected words")));
        QCOMPARE(clipboard.writes, QStringList{"<clear>"});

        // Nothing copied (no keystroke went out): nothing read, nothing touched.
        clipboard.writes.clear();
        keys.delivers = false;
        QCOMPARE(reader.viaCopy(), std::nullopt);
        QVERIFY(clipboard.writes.isEmpty());
    }
};

QTEST_MAIN(TestDesktopText)
#include "TestDesktopText.moc"
