// The user's clipboard around a paste: read while the key is held, put back once the target
// has fetched the text (a clipboard manager's read does not count), left alone when someone
// copied since, and not put back when the paste did not arrive.
#include "core/ManualClock.h"
#include "core/ManualScheduler.h"
#include "desktop/ClipboardKeeper.h"
#include "desktop/Paster.h"
#include "support/FakePlatform.h"

#include <QClipboard>
#include <QGuiApplication>
#include <QMimeData>
#include <QTest>

namespace {

const ClipboardContents before{{"UTF8_STRING", "mine"}, {"image/png", QByteArray("\x89PNG pic")}};

QByteArray held(const QString &format)
{
    return QGuiApplication::clipboard()->mimeData()->data(format);
}

ClipboardKeeper::WatcherFactory reading(std::optional<ClipboardContents> contents)
{
    return [contents] {
        auto watcher = std::make_unique<FakeClipboardWatcher>();
        watcher->held = contents;
        return watcher;
    };
}

} // namespace

class TestClipboardKeeping : public QObject
{
    Q_OBJECT
private Q_SLOTS:
    void comesBackOnceTheTargetHasTheText()
    {
        FakeKeySynthesizer keys;
        ManualClock clock;
        ManualScheduler scheduler(clock);
        Paster paster(keys, scheduler);

        paster.paste(QStringLiteral("dictated"), {}, before);
        QCOMPARE(held("text/plain"), QByteArray("dictated")); // a manager reads at once
        scheduler.advance(Paster::pasteDelay + 0.5);
        QCOMPARE(held("text/plain"), QByteArray("dictated")); // the target, after the keystroke
        scheduler.advance(Paster::restoreAfterFetch);
        QCOMPARE(held("text/plain"), QByteArray("mine"));
        QCOMPARE(held("image/png"), QByteArray("\x89PNG pic"));

        // No fetch seen (an application that reads another way): back after a second.
        paster.paste(QStringLiteral("unfetched"), {}, before);
        scheduler.advance(Paster::pasteDelay + Paster::restoreDeadline - 0.1);
        scheduler.advance(0.2);
        QCOMPARE(held("text/plain"), QByteArray("mine"));

        // Someone copied in the meantime: that stays.
        paster.paste(QStringLiteral("again"), {}, before);
        scheduler.advance(Paster::pasteDelay);
        QGuiApplication::clipboard()->setText(QStringLiteral("copied meanwhile"));
        scheduler.advance(Paster::restoreDeadline + 0.1);
        QCOMPARE(held("text/plain"), QByteArray("copied meanwhile"));

        // An empty clipboard before: empty again.
        paster.paste(QStringLiteral("to nothing"), {}, ClipboardContents());
        scheduler.advance(Paster::pasteDelay + Paster::restoreDeadline + 0.1);
        QVERIFY(QGuiApplication::clipboard()->text().isEmpty());

        // No keystroke went out: the text stays for the user to paste.
        keys.delivers = false;
        paster.paste(QStringLiteral("kept"), {}, before);
        scheduler.advance(Paster::pasteDelay + Paster::restoreDeadline + 0.1);
        QCOMPARE(held("text/plain"), QByteArray("kept"));
    }

    void missingPasteGetsItsTextBack()
    {
        // Fetched, put back, and then the field turns out not to have it: the text returns.
        FakeKeySynthesizer keys;
        FakeFocusedText fields;
        ManualClock clock;
        ManualScheduler scheduler(clock);
        Paster paster(keys, scheduler, nullptr, &fields);
        std::optional<Paster::Outcome> outcome;
        paster.paste(
            QStringLiteral("lost words"), [&](Paster::Outcome result) { outcome = result; },
            before);
        scheduler.advance(Paster::pasteDelay);
        QCOMPARE(held("text/plain"), QByteArray("lost words"));
        scheduler.advance(Paster::restoreAfterFetch);
        QCOMPARE(held("text/plain"), QByteArray("mine"));
        scheduler.advance(Paster::lastCheck);
        QCOMPARE(outcome, std::optional(Paster::Outcome::missing));
        QCOMPARE(held("text/plain"), QByteArray("lost words"));
    }

    void keeperReadsAndNoticesChanges()
    {
        ClipboardKeeper keeper(reading(before), false);
        QCOMPARE(keeper.remembered(), std::nullopt);
        keeper.remember();
        QCOMPARE(keeper.remembered(), std::optional(before));
        QGuiApplication::clipboard()->setText(QStringLiteral("changed"));
        QCOMPARE(keeper.remembered(), std::nullopt);
        QCOMPARE(keeper.problem(), QStringLiteral("it changed during the dictation"));

        ClipboardKeeper unreadable(reading(std::nullopt), false);
        unreadable.remember();
        QCOMPARE(unreadable.remembered(), std::nullopt);
        QVERIFY(unreadable.problem().startsWith(QStringLiteral("its owner did not hand over")));

        // In the background, the reading arrives through the event loop.
        ClipboardKeeper background(reading(before));
        background.remember();
        QTRY_COMPARE(background.remembered(), std::optional(before));
        background.forget();
        QCOMPARE(background.remembered(), std::nullopt);
    }
};

QTEST_MAIN(TestClipboardKeeping)
#include "TestClipboardKeeping.moc"
