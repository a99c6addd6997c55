// The HUD on a real X server: every pill and a streamed answer card as they look (kept as
// screenshots), focus left with the application the user types in, and a card dragged by
// its background.
#include "backend/Backend.h"
#include "core/QtScheduler.h"
#include "core/SystemClock.h"
#include "correction/CorrectionPrompt.h"
#include "desktop/FloatingPanel.h"
#include "desktop/QtScreens.h"
#include "hotkeys/Shortcut.h"
#include "hud/HUDHistory.h"
#include "hud/QuickHUDPanel.h"
#include "hud/RecordingHUD.h"
#include "platform/linux/AtspiAccessibilitySwitch.h"
#include "platform/linux/FnKey.h"
#include "platform/linux/X11WindowSystem.h"
#include "stores/HistoryStore.h"
#include "support/FocusedField.h"
#include "support/TestEnvironment.h"
#include "support/XTestKeyboard.h"

#include <QDeadlineTimer>
#include <QDir>
#include <QGuiApplication>
#include <QImage>
#include <QQuickItem>
#include <QScreen>
#include <QSet>
#include <QTest>

#include <X11/Xatom.h>
#include <X11/Xlib.h>
#include <X11/extensions/XTest.h>

namespace {

HistoryEntry chat(const QString &id, EntryKind kind, const QString &text, int minutesAgo)
{
    return HistoryEntry{id, QDateTime::currentDateTimeUtc().addSecs(-60 * minutesAgo), kind, text};
}

} // namespace

class TestHUDDesktop : public QObject
{
    Q_OBJECT

    Display *m_display = nullptr;
    XTestKeyboard m_keyboard;
    FocusedField m_field{QStringLiteral(TEXTFIELD_BINARY)};

    SystemClock m_clock;
    QtScheduler m_scheduler;
    X11WindowSystem m_probe;
    QtScreens m_screens;
    Backend m_backend{QUrl(QStringLiteral("http://127.0.0.1:9"))};
    HistoryStore m_history{m_backend, m_clock};
    std::unique_ptr<HUDHistory> m_interactions;
    std::unique_ptr<RecordingHUD> m_hud;
    std::unique_ptr<QuickHUDPanel> m_panel;

    FloatingPanel *window() const { return m_panel->window(); }
    QQuickItem *item(const char *name) const
    {
        return window()->rootObject()->findChild<QQuickItem *>(QString::fromLatin1(name));
    }
    // Waits until the window stands at the panel's frame and is fully shown.
    bool settled()
    {
        // Let a running move or resize end first.
        QTest::qWait(int(QuickHUDPanel::frameSeconds * 1000) + 40);
        QDeadlineTimer deadline(5000);
        while (!deadline.hasExpired()) {
            if (window()->isExposed() && window()->opacity() == 1.0 &&
                window()->geometry() == m_panel->frame())
                break;
            QTest::qWait(20);
        }
        // One more frame so the scene shows the last change.
        QTest::qWait(120);
        return window()->geometry() == m_panel->frame();
    }
    // Saves the panel as it is on screen; returns how many colours its content shows.
    int saveShot(const QString &name)
    {
        const QRect frame = m_panel->frame();
        const QImage shot = window()
                                ->screen()
                                ->grabWindow(0, frame.x(), frame.y(), frame.width(), frame.height())
                                .toImage();
        const QString artifacts = QStringLiteral(TEST_ARTIFACT_DIR);
        QDir().mkpath(artifacts);
        shot.save(artifacts + u'/' + name + QStringLiteral(".png"));
        const int margin = RecordingHUD::shadowMargin;
        QSet<QRgb> colours;
        for (int y = margin; y < shot.height() - margin; y += 2)
            for (int x = margin; x < shot.width() - margin; x += 2)
                colours.insert(shot.pixel(x, y));
        return int(colours.size());
    }
    void pointer(QPoint global, std::optional<bool> button = {})
    {
        XTestFakeMotionEvent(m_display, -1, global.x(), global.y(), CurrentTime);
        if (button)
            XTestFakeButtonEvent(m_display, 1, *button, CurrentTime);
        XFlush(m_display);
    }

private Q_SLOTS:
    void initTestCase()
    {
        m_display = XOpenDisplay(nullptr);
        OVRIN_REQUIRE_SERVICE(m_display && m_keyboard.isOpen(), "an X server with XTEST");
        m_interactions = std::make_unique<HUDHistory>(m_history);
        m_panel =
            std::make_unique<QuickHUDPanel>(m_interactions.get(), m_screens, m_scheduler, &m_probe);
        m_hud =
            std::make_unique<RecordingHUD>(*m_panel, m_screens, m_clock, m_scheduler, m_history);
    }

    void init()
    {
        // Keep the pointer off the card: hovering would hold it.
        if (m_display)
            pointer(QPoint(5, 5));
    }

    void cleanupTestCase()
    {
        m_hud.reset();
        m_panel.reset();
        if (m_display)
            XCloseDisplay(m_display);
    }

    void everyPillShowsItsTitle_data()
    {
        QTest::addColumn<CaptureMode>("mode");
        QTest::addColumn<bool>("processing");
        QTest::addColumn<QString>("title");
        QTest::newRow("paste") << CaptureMode::paste << false << "Listening";
        QTest::newRow("paste-processing") << CaptureMode::paste << true << "Transcribing…";
        QTest::newRow("ask") << CaptureMode::ask << false << "Ask AI";
        QTest::newRow("ask-processing") << CaptureMode::ask << true << "Thinking…";
        QTest::newRow("screen") << CaptureMode::screen << false << "Read screen";
        QTest::newRow("screen-processing") << CaptureMode::screen << true << "Reading screen…";
    }
    void everyPillShowsItsTitle()
    {
        QFETCH(CaptureMode, mode);
        QFETCH(bool, processing);
        QFETCH(QString, title);
        m_hud->show(processing ? HUDMode::processing(mode) : HUDMode::recording(mode));
        m_hud->setLevel(0.7f);
        QVERIFY(settled());
        QCOMPARE(item("pillTitle")->property("text").toString(), title);
        QCOMPARE(item("waveform")->isVisible(), !processing);
        QCOMPARE(item("progress")->isVisible(), processing);
        QVERIFY(!window()->acceptsMouse());
        // Bottom centre of the screen, 28 above its bottom edge.
        const QRect screen = *m_screens.activeScreen();
        QCOMPARE(m_panel->frame().center().x(), screen.center().x());
        QCOMPARE(m_panel->frame().bottom() + 1 - RecordingHUD::shadowMargin,
                 screen.bottom() + 1 - RecordingHUD::bottomMargin);
        QVERIFY(saveShot(QStringLiteral("hud-pill-") + QTest::currentDataTag()) > 8);
    }

    void streamedAnswerGrowsAndCanBeDragged()
    {
        m_hud->startStreaming(QStringLiteral("What does the selected paragraph say?"));
        QVERIFY(settled());
        QVERIFY(window()->acceptsMouse());
        const int startHeight = m_panel->frame().height();
        const QStringList words =
            QStringLiteral("The paragraph explains how the panel follows the text "
                           "as it streams in, growing in small steps until it "
                           "reaches its cap, after which the answer scrolls so "
                           "the newest line stays in view while the rest waits "
                           "above it for you to read at leisure.")
                .split(u' ');
        for (const QString &word : words) {
            m_hud->appendStreaming(word + u' ');
            QTest::qWait(25);
        }
        // The default ask shortcut with the default fn key, as the application names it.
        m_hud->finishStreaming(
            Shortcut::legacy(QStringLiteral("fn+control")).displayName(FnKey::shared().label()),
            QString());
        QVERIFY(settled());
        QVERIFY(m_panel->frame().height() > startHeight);
        QCOMPARE(item("followUpHint")->property("text").toString(),
                 QStringLiteral("Hold Right Ctrl+Left Ctrl to ask a follow-up"));
        QVERIFY(item("answerText")->property("text").toString().startsWith("The paragraph"));
        QVERIFY(saveShot(QStringLiteral("hud-answer-card")) > 8);

        // Dragged by its header, the card stays where it was put, also for the next card.
        const QRect before = m_panel->frame();
        const QPoint grab = before.topLeft() + QPoint(RecordingHUD::shadowMargin + 200,
                                                      RecordingHUD::shadowMargin + 8);
        pointer(grab, true);
        QTest::qWait(50);
        for (int step = 1; step <= 10; ++step) {
            pointer(grab + QPoint(-20 * step, -30 * step));
            QTest::qWait(20);
        }
        pointer(grab + QPoint(-200, -300), false);
        QTRY_COMPARE(m_panel->frame().topLeft(), before.topLeft() + QPoint(-200, -300));
        QTRY_COMPARE(window()->position(), m_panel->frame().topLeft());
        pointer(QPoint(5, 5));
        m_hud->showError(QStringLiteral("Transcription failed: Can't reach the backend."));
        QVERIFY(settled());
        QCOMPARE(m_panel->frame().topLeft(), before.topLeft() + QPoint(-200, -300));
        QCOMPARE(item("cardTitle")->property("text").toString(),
                 QStringLiteral("Something went wrong"));
        QVERIFY(!item("followUpHint")->isVisible());
        QVERIFY(saveShot(QStringLiteral("hud-error-card")) > 8);

        // The next pill is centred again.
        m_hud->show(HUDMode::recording(CaptureMode::paste));
        QVERIFY(settled());
        QCOMPARE(m_panel->frame().center().x(), m_screens.activeScreen()->center().x());
    }

    // Shown on the workspace the user is on, and kept there when the user switches.
    void panelIsOnEveryWorkspace()
    {
        m_hud->show(HUDMode::recording(CaptureMode::paste));
        QVERIFY(settled());
        Atom type = None;
        int format = 0;
        unsigned long items = 0, after = 0;
        unsigned char *data = nullptr;
        XGetWindowProperty(m_display, Window(window()->winId()),
                           XInternAtom(m_display, "_NET_WM_DESKTOP", False), 0, 1, False,
                           XA_CARDINAL, &type, &format, &items, &after, &data);
        QCOMPARE(items, 1ul);
        // 32-bit items come as longs: "all desktops" is 0xFFFFFFFF in its low half.
        const auto desktop = quint32(*reinterpret_cast<unsigned long *>(data));
        XFree(data);
        QCOMPARE(desktop, 0xFFFFFFFFu);
    }

    // A drag while the card still grows: the card takes its size where it was put, and the
    // next card keeps that place.
    void dragDuringAResizeStaysWhereItWasPut()
    {
        m_hud->show(HUDMode::recording(CaptureMode::ask));
        QVERIFY(settled());
        // Within the stream's re-layout interval: only the finish resizes the card.
        m_hud->startStreaming(QStringLiteral("Short?"));
        m_hud->appendStreaming(
            QString(QStringLiteral("A longer answer that needs more room. ")).repeated(8));
        m_hud->finishStreaming(QString(), QString()); // grows, animated
        const QSize grown = m_panel->frame().size();
        const QPoint put = m_panel->frame().topLeft() + QPoint(-150, -200);
        Q_EMIT window()->dragged(put);
        QVERIFY(settled());
        QCOMPARE(m_panel->frame().topLeft(), put);
        QVERIFY(m_panel->frame().height() > grown.height());

        m_hud->showError(QStringLiteral("Ask failed: the backend is busy."));
        QVERIFY(settled());
        QCOMPARE(m_panel->frame().topLeft(), put);
    }

    void historyListShowsPreviousInteractions()
    {
        m_history.setChatEntries({chat("4", EntryKind::answer, "It is 12:40.", 1),
                                  chat("3", EntryKind::question, "What time is it?", 2),
                                  chat("2", EntryKind::answer, "Added “call Ana”.", 10),
                                  chat("1", EntryKind::question, "Add a task to call Ana", 11)});
        m_hud->startStreaming(QStringLiteral("Anything else?"));
        m_hud->appendStreaming(QStringLiteral("Nothing else is due today."));
        m_hud->finishStreaming(QString(), QString());
        QVERIFY(settled());
        m_hud->toggleHistory();
        QVERIFY(settled());
        QQuickItem *list = item("historyList");
        QVERIFY(list->isVisible());
        QTRY_COMPARE(list->property("count").toInt(), 2);
        QVERIFY(saveShot(QStringLiteral("hud-history")) > 8);

        m_history.setChatEntries({});
        QTRY_COMPARE(list->property("count").toInt(), 0);
        m_hud->hide();
        QTRY_VERIFY(!window()->isVisible());
    }

    // The pill and the correction banner up while the user types into a field of another
    // process: every key lands there and the focus never moves.
    void typingGoesToTheFocusedField()
    {
        OVRIN_REQUIRE_SERVICE(AtspiAccessibilitySwitch().isOn().has_value(), "the AT-SPI bus");
        QVERIFY(m_field.start());
        const Window fieldFocus = m_field.inputFocus();

        m_hud->show(HUDMode::recording(CaptureMode::paste));
        CorrectionPrompt prompt(m_scheduler, m_screens, &m_probe);
        prompt.show(QStringLiteral("cant"), QStringLiteral("can not"));
        QVERIFY(settled());
        QTRY_VERIFY(prompt.panel()->isExposed());

        QVERIFY(m_field.typeKeepingFocus(m_keyboard, "hello"));
        QCOMPARE(m_field.inputFocus(), fieldFocus);
        QVERIFY(!QGuiApplication::focusWindow());

        m_hud->hide();
        prompt.hide();
        QTRY_VERIFY(!window()->isVisible());
    }
};

QTEST_MAIN(TestHUDDesktop)
#include "TestHUDDesktop.moc"
