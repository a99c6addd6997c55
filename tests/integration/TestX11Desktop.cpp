// Hotkeys and paste on a real X server: the fn key (Right Ctrl) held as a chord, another fn
// key chosen while running, a key combination kept away from the focused window, and text
// pasted into a real field.
#include "core/QtScheduler.h"
#include "core/SystemClock.h"
#include "desktop/ClipboardKeeper.h"
#include "desktop/Paster.h"
#include "desktop/SelectionReader.h"
#include "hotkeys/HotkeyManager.h"
#include "platform/linux/AtspiFocusedTextReader.h"
#include "platform/linux/X11KeySource.h"
#include "platform/linux/X11KeySynthesizer.h"
#include "platform/linux/XFixesClipboardWatcher.h"
#include "support/TestEnvironment.h"
#include "support/XTestKeyboard.h"

#include <QBuffer>
#include <QClipboard>
#include <QGuiApplication>
#include <QImage>
#include <QLineEdit>
#include <QMimeData>
#include <QProcess>
#include <QScopeGuard>
#include <QSignalSpy>
#include <QTest>

class TestX11Desktop : public QObject
{
    Q_OBJECT

    SystemClock m_clock;
    QtScheduler m_scheduler;
    X11KeySource m_source{QStringLiteral("Control_R")};
    std::unique_ptr<HotkeyManager> m_manager;
    XTestKeyboard m_keyboard;
    QStringList m_events;

private Q_SLOTS:
    void initTestCase()
    {
        m_manager = std::make_unique<HotkeyManager>(m_source, m_clock, m_scheduler);
        connect(m_manager.get(), &HotkeyManager::holdStarted, this,
                [this](CaptureMode m) { m_events << "start " + captureModeName(m); });
        connect(m_manager.get(), &HotkeyManager::holdStopped, this,
                [this](CaptureMode m) { m_events << "stop " + captureModeName(m); });
        connect(m_manager.get(), &HotkeyManager::handsFreeStarted, this,
                [this] { m_events << "start hands-free"; });
        connect(m_manager.get(), &HotkeyManager::handsFreeStopped, this,
                [this] { m_events << "stop hands-free"; });
        OVRIN_REQUIRE_SERVICE(m_keyboard.isOpen() && m_manager->start(),
                              "an X server with XInput 2.2 and XTEST");
    }

    void init() { m_events.clear(); }

    void fnKeyHeld()
    {
        m_keyboard.press("Control_R");
        QTest::qWait(300);
        QTRY_COMPARE(m_events, QStringList{"start paste"});
        m_keyboard.release("Control_R");
        QTRY_COMPARE(m_events, (QStringList{"start paste", "stop paste"}));

        // Left Ctrl is control, not fn: with fn it makes the ask chord.
        m_keyboard.press("Control_R");
        m_keyboard.press("Control_L");
        QTRY_COMPARE(m_events.value(2), QStringLiteral("start ask"));
        m_keyboard.release("Control_L");
        m_keyboard.release("Control_R");
        QTRY_COMPARE(m_events.value(3), QStringLiteral("stop ask"));
    }

    void keyCombinationIsSwallowed()
    {
        // Shift+D: a key the field would show as "D" if it ever got it.
        m_manager->setShortcut(CaptureMode::ask, Shortcut(Shortcut::shift, 2, "D"));
        QLineEdit field;
        field.show();
        field.activateWindow();
        field.setFocus();
        QVERIFY(QTest::qWaitForWindowActive(&field));

        m_keyboard.press("Shift_L");
        m_keyboard.tap("d");
        m_keyboard.release("Shift_L");
        QTRY_COMPARE(m_events, (QStringList{"start ask", "stop ask"}));

        m_keyboard.tap("x"); // the field does get ordinary keys
        QTRY_COMPARE(field.text(), QStringLiteral("x"));

        // During hands-free dictation the combination is no shortcut: the field gets it.
        m_manager->setShortcut(CaptureMode::paste, Shortcut(Shortcut::option));
        m_manager->setShortcut(CaptureMode::screen, Shortcut(Shortcut::option | Shortcut::command));
        m_keyboard.tap("Control_R");
        m_keyboard.tap("Control_R"); // fn twice: hands-free
        QTRY_COMPARE(m_events.value(2), QStringLiteral("start hands-free"));
        m_keyboard.press("Shift_L");
        m_keyboard.tap("d");
        m_keyboard.release("Shift_L");
        QTRY_COMPARE(field.text(), QStringLiteral("xD"));
        m_keyboard.tap("Control_R");
        QTRY_COMPARE(m_events.value(3), QStringLiteral("stop hands-free"));
        QCOMPARE(m_events.size(), 4);
        for (CaptureMode mode : {CaptureMode::paste, CaptureMode::ask, CaptureMode::screen})
            m_manager->setShortcut(mode, defaultShortcut(mode));
    }

    // The settings pick another fn key and the running hotkeys follow: Right Super is fn, its
    // combinations are kept from the field, and Right Ctrl is plain control again.
    void fnKeyChosenWhileRunning()
    {
        m_source.setFnKey(QStringLiteral("Super_R"));
        m_keyboard.press("Super_R");
        QTRY_COMPARE(m_events, QStringList{"start paste"});
        QCOMPARE(m_source.currentModifierFlags(), Shortcut::fn);
        m_keyboard.release("Super_R");
        QTRY_COMPARE(m_events, (QStringList{"start paste", "stop paste"}));
        m_keyboard.press("Super_R");
        m_keyboard.press("Control_R"); // fn with control: the ask chord
        QTRY_COMPARE(m_events.value(2), QStringLiteral("start ask"));
        m_keyboard.release("Control_R");
        m_keyboard.release("Super_R");
        QTRY_COMPARE(m_events.value(3), QStringLiteral("stop ask"));

        m_manager->setShortcut(CaptureMode::ask, Shortcut(Shortcut::fn, 2, "D"));
        QLineEdit field;
        field.show();
        field.activateWindow();
        field.setFocus();
        QVERIFY(QTest::qWaitForWindowActive(&field));
        m_events.clear();
        m_keyboard.press("Super_R");
        m_keyboard.tap("d");
        m_keyboard.release("Super_R");
        QTRY_VERIFY(m_events.contains("start ask"));
        m_keyboard.tap("x");
        QTRY_COMPARE(field.text(), QStringLiteral("x"));
        m_manager->setShortcut(CaptureMode::ask, defaultShortcut(CaptureMode::ask));

        // Menu sets no X modifier, yet held alone it is fn.
        m_source.setFnKey(QStringLiteral("Menu"));
        m_events.clear();
        m_keyboard.press("Menu");
        QTRY_COMPARE(m_events, QStringList{"start paste"});
        m_keyboard.release("Menu");
        QTRY_COMPARE(m_events, (QStringList{"start paste", "stop paste"}));
        m_source.setFnKey(QStringLiteral("Control_R"));
    }

    void pasteWhileTheUserHoldsAModifier()
    {
        QLineEdit field;
        field.show();
        field.activateWindow();
        field.setFocus();
        QVERIFY(QTest::qWaitForWindowActive(&field));
        X11KeySynthesizer keys;
        Paster paster(keys, m_scheduler);
        const QString text = QStringLiteral("Grüße — 世界 ✓ \"quoted\"");

        m_keyboard.press("Shift_L"); // still held from the hotkey: not part of the keystroke
        paster.paste(text);
        QTRY_COMPARE(field.text(), text);
        m_keyboard.release("Shift_L");
        QCOMPARE(QGuiApplication::clipboard()->text(), text); // the transcript stays there
    }

    void pasteIntoAGtkEntry()
    {
        QProcess gtk;
        // Debian's interpreter, where the GTK bindings are installed.
        gtk.start("/usr/bin/python3", {QStringLiteral(GTK_ENTRY_SCRIPT)});
        QVERIFY(gtk.waitForStarted());
        X11KeySynthesizer keys;
        QTRY_VERIFY_WITH_TIMEOUT(keys.focusedWindowClass().contains("gtk_entry"), 10000);
        Paster paster(keys, m_scheduler);
        const QString text = QStringLiteral("Grüße — 世界 ✓");
        paster.paste(text);
        QByteArray typed;
        QTRY_VERIFY_WITH_TIMEOUT((typed += gtk.readAllStandardOutput()).contains(text.toUtf8()),
                                 5000);
        gtk.kill();
        gtk.waitForFinished();
    }

    // A GTK field that takes the paste, and one that drops it: the paster looks at the
    // field through AT-SPI and says which.
    // A GTK entry in a process of its own (with `options`) takes a paste of `text` from a
    // paster that checks the field; `outcome` is how it went.
    void pasteIntoGtk(const QStringList &options, const QString &text,
                      std::optional<ClipboardContents> previous,
                      std::optional<Paster::Outcome> &outcome)
    {
        QProcess gtk;
        gtk.start("/usr/bin/python3", QStringList{QStringLiteral(GTK_ENTRY_SCRIPT)} + options);
        QVERIFY(gtk.waitForStarted());
        const auto stop = qScopeGuard([&gtk] {
            gtk.kill();
            gtk.waitForFinished();
        });
        X11KeySynthesizer keys;
        AtspiFocusedTextReader fields;
        QTRY_VERIFY_WITH_TIMEOUT(keys.focusedWindowClass().contains("gtk_entry"), 10000);
        QTRY_VERIFY_WITH_TIMEOUT(fields.focusedElement() != nullptr, 10000);
        Paster paster(keys, m_scheduler, nullptr, &fields);
        paster.paste(
            text, [&outcome](Paster::Outcome result) { outcome = result; }, std::move(previous));
        QTRY_VERIFY_WITH_TIMEOUT(outcome.has_value(), 5000);
    }

    // A GTK field that takes the paste, and one that drops it: the paster looks at the
    // field through AT-SPI and says which.
    void pasteIsCheckedInTheField()
    {
        std::optional<Paster::Outcome> taken, dropped;
        pasteIntoGtk({}, QStringLiteral("Grüße aus der Küche"), std::nullopt, taken);
        QCOMPARE(taken, std::optional(Paster::Outcome::landed));
        pasteIntoGtk({QStringLiteral("--ignore-paste")}, QStringLiteral("Grüße aus der Küche"),
                     std::nullopt, dropped);
        QCOMPARE(dropped, std::optional(Paster::Outcome::missing));
    }

    // Text and an image on the clipboard, a dictation pasted into a GTK field: the field gets
    // the dictation, and other applications then find both formats as they were.
    void clipboardComesBackAfterAPaste()
    {
        QImage picture(8, 8, QImage::Format_RGB32);
        picture.fill(Qt::darkCyan);
        QByteArray png;
        QBuffer buffer(&png);
        QVERIFY(buffer.open(QIODevice::WriteOnly) && picture.save(&buffer, "PNG"));
        auto *mine = new QMimeData;
        mine->setText(QStringLiteral("the user's words"));
        mine->setData(QStringLiteral("image/png"), png);
        QGuiApplication::clipboard()->setMimeData(mine);

        const auto readers = [] { return std::make_unique<XFixesClipboardWatcher>(); };
        ClipboardKeeper keeper(readers);
        keeper.remember();
        QTRY_VERIFY_WITH_TIMEOUT(keeper.remembered().has_value(), 5000);
        std::optional<Paster::Outcome> outcome;
        pasteIntoGtk({}, QStringLiteral("Dictated words"), keeper.remembered(), outcome);
        QCOMPARE(outcome, std::optional(Paster::Outcome::landed));
        QTest::qWait(int(1000 * (Paster::restoreDeadline + 0.2)));

        // As another application finds it.
        ClipboardKeeper after(readers);
        after.remember();
        QTRY_VERIFY_WITH_TIMEOUT(after.remembered().has_value(), 5000);
        QMap<QString, QByteArray> formats;
        const ClipboardContents found = *after.remembered();
        for (const auto &[format, bytes] : found)
            formats.insert(format, bytes);
        QCOMPARE(formats.value(QStringLiteral("UTF8_STRING")), QByteArray("the user's words"));
        QCOMPARE(formats.value(QStringLiteral("image/png")), png);
    }

    void selectionOfAnotherApplication()
    {
        QProcess other;
        other.start(QStringLiteral(TEXTFIELD_BINARY), {"  Grüße aus der Küche  ", "8", "3"});
        QVERIFY(other.waitForStarted());
        AtspiFocusedTextReader focused;
        X11KeySynthesizer keys;
        XFixesClipboardWatcher clipboard;
        QVERIFY(clipboard.isAvailable());
        SelectionReader reader(focused, keys, clipboard);

        QTRY_COMPARE_WITH_TIMEOUT(reader.viaAccessibility(), std::optional<QString>("aus"), 10000);
        // AT-SPI can report the field focused before the X server gives its window the
        // keyboard, and the copy keystroke goes wherever the keyboard is.
        QTRY_VERIFY_WITH_TIMEOUT(keys.focusedWindowClass().contains("textfield"), 10000);

        // A field that has just started (and is answering AT-SPI) can take longer than the
        // 140 ms copy wait for its first copy; one unhurried copy first. Qt stamps its own claim
        // of the clipboard with the time of the last X event it handled, and X refuses a claim
        // older than the field's: so Qt must have handled the field's claim before ours.
        QSignalSpy qtSawTheCopy(QGuiApplication::clipboard(), &QClipboard::dataChanged);
        const std::uint64_t started = clipboard.changeCount();
        keys.send(KeySynthesizer::Command::copy);
        QVERIFY(clipboard.waitForChange(started, 5000));
        QTRY_VERIFY_WITH_TIMEOUT(!qtSawTheCopy.isEmpty(), 5000);

        // Our own claim just before is counted at once, so no late notice of it passes for the
        // copy; the previous text goes back once Qt has taken in the field's claim.
        QGuiApplication::clipboard()->setText(QStringLiteral("the user's own text"));
        const std::optional<QString> copied = reader.viaCopy();
        QVERIFY2(copied == QStringLiteral("aus"),
                 qPrintable(copied.value_or("(nothing)") + " with focus on " +
                            keys.focusedWindowClass()));
        QTRY_COMPARE(QGuiApplication::clipboard()->text(), QStringLiteral("the user's own text"));

        // Ask reads the selection while its chord (Right Ctrl as fn, Left Ctrl) is down, and Qt
        // has handled no event since: the keystroke must leave the user's Ctrl alone, or the
        // hold ends as it begins, and the field must still hand over its text.
        m_events.clear();
        m_keyboard.press("Control_R");
        m_keyboard.press("Control_L");
        QTRY_COMPARE(m_events, QStringList{"start ask"});
        QCOMPARE(reader.viaCopy(), std::optional<QString>("aus"));
        QTRY_COMPARE(QGuiApplication::clipboard()->text(), QStringLiteral("the user's own text"));
        QCOMPARE(m_events, QStringList{"start ask"});
        m_keyboard.release("Control_L");
        QTRY_COMPARE(m_events, (QStringList{"start ask", "stop ask"}));
        m_keyboard.release("Control_R");

        // A chord with Alt: Ctrl+Alt+C would copy nothing, so Alt is let go for the keystroke
        // and pressed again, and the hold goes on through it.
        m_events.clear();
        m_keyboard.press("Control_R");
        m_keyboard.press("Control_L");
        m_keyboard.press("Alt_L");
        QTRY_COMPARE(m_events, QStringList{"start screen"});
        QCOMPARE(reader.viaCopy(), std::optional<QString>("aus"));
        QTest::qWait(100);
        QCOMPARE(m_events, QStringList{"start screen"});
        m_keyboard.release("Alt_L");
        QTRY_COMPARE(m_events, (QStringList{"start screen", "stop screen"}));
        m_keyboard.release("Control_L");
        m_keyboard.release("Control_R");
        other.kill();
        other.waitForFinished();
    }
};

QTEST_MAIN(TestX11Desktop)
#include "TestX11Desktop.moc"
