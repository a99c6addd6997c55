#include "support/FakeBackendServer.h"
#include "support/FakeHUDPanel.h"
#include "support/FakeScreens.h"

#include "backend/Backend.h"
#include "core/ManualClock.h"
#include "core/ManualScheduler.h"
#include "hud/HUDHistory.h"
#include "hud/RecordingHUD.h"
#include "stores/HistoryStore.h"

#include <QSignalSpy>
#include <QTest>

#include <cmath>
#include <limits>

namespace {

struct Rig
{
    // Chat history requests the backend has had.
    int historyRefreshes() const
    {
        int count = 0;
        for (const FakeRequest &request : server.requests())
            count += request.target == QStringLiteral("/history?scope=chat");
        return count;
    }

    // The state and panel of a finished streamed answer.
    void answer(const QString &text, const QString &followUp = QString())
    {
        hud.startStreaming(QString());
        hud.finishStreaming(followUp, text);
    }

    ManualClock clock;
    ManualScheduler scheduler{clock};
    FakeBackendServer server;
    bool listening = server.listen();
    Backend backend{server.baseURL()};
    HistoryStore history{backend, clock};
    FakeHUDPanel panel;
    FakeScreens screens;
    RecordingHUD hud{panel, screens, clock, scheduler, history};
};

QString words(int characters)
{
    return QStringLiteral("lorem ipsum dolor sit amet ")
        .repeated(characters / 27 + 1)
        .left(characters);
}

} // namespace

class TestRecordingHUD : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void pillSitsBottomCentreAndStaysUntilReplaced()
    {
        Rig rig;
        rig.screens.screen = QRect(1920, 30, 1280, 770);
        rig.hud.show(HUDMode::recording(CaptureMode::ask));
        QCOMPARE(rig.panel.createCount, 1);
        // Content bottom 28 above the usable bottom; the panel is 44 larger all round.
        QCOMPARE(rig.panel.currentFrame,
                 QRect(1920 + (1280 - 308) / 2, 800 - 28 + 44 - 148, 308, 148));
        QCOMPARE(rig.panel.acceptsMouse, false);
        QCOMPARE(rig.panel.fadeInCount, 1);
        QCOMPARE(rig.hud.state()->modeKind(), QStringLiteral("recording"));
        QCOMPARE(rig.hud.state()->captureMode(), QStringLiteral("ask"));

        rig.hud.show(HUDMode::processing(CaptureMode::ask));
        QCOMPARE(rig.panel.frames.size(), 1);
        QCOMPARE(rig.panel.fadeInCount, 1);
        QCOMPARE(rig.hud.state()->modeKind(), QStringLiteral("processing"));
        rig.scheduler.advance(120);
        QCOMPARE(rig.panel.fadeOutCount, 0);

        rig.hud.setLevel(1.7f);
        QCOMPARE(rig.hud.state()->level(), 1.0f);
        rig.hud.setLevel(std::numeric_limits<float>::quiet_NaN());
        QCOMPARE(rig.hud.state()->level(), 0.0f);

        rig.hud.show(HUDMode::hidden());
        QVERIFY(rig.panel.fadingOut());
        QCOMPARE(rig.panel.createCount, 1);
    }

    void errorCardDismissesByLength_data()
    {
        QTest::addColumn<int>("characters");
        QTest::addColumn<double>("seconds");
        QTest::newRow("50") << 50 << 10.0;
        QTest::newRow("300") << 300 << 18.0;
        QTest::newRow("1000") << 1000 << 30.0;
    }

    void errorCardDismissesByLength()
    {
        QFETCH(int, characters);
        QFETCH(double, seconds);
        Rig rig;
        rig.hud.showError(QString(characters, QLatin1Char('x')));
        QCOMPARE(rig.hud.state()->modeKind(), QStringLiteral("error"));
        QCOMPARE(rig.panel.acceptsMouse, true);
        rig.scheduler.advance(seconds - 0.01);
        QCOMPARE(rig.panel.fadeOutCount, 0);
        rig.scheduler.advance(0.02);
        QCOMPARE(rig.panel.fadeOutCount, 1);

        rig.panel.completeFadeOut();
        QCOMPARE(rig.hud.state()->modeKind(), QStringLiteral("hidden"));
        QCOMPARE(rig.panel.acceptsMouse, false);
    }

    void longAnswerIsCappedAndExpandsToPartOfTheScreen_data()
    {
        QTest::addColumn<QRect>("screen");
        QTest::addColumn<int>("expanded");
        QTest::newRow("large screen") << QRect(0, 32, 2560, 1408) << 620;
        QTest::newRow("small screen") << QRect(0, 0, 1280, 720) << 468;
    }

    void longAnswerIsCappedAndExpandsToPartOfTheScreen()
    {
        QFETCH(QRect, screen);
        QFETCH(int, expanded);
        Rig rig;
        rig.screens.screen = screen;
        rig.answer(words(3000));
        QCOMPARE(rig.panel.currentFrame.size(), QSize(440 + 88, 260 + 88));

        rig.hud.state()->toggleExpand();
        QVERIFY(rig.hud.state()->expanded());
        QCOMPARE(rig.panel.contentHeight(), expanded);
        QVERIFY(rig.panel.frames.last().animated);
        QVERIFY(rig.panel.currentFrame.bottom() < screen.bottom() + 44);
        // An expanded card stays until it is closed or collapsed.
        rig.scheduler.advance(300);
        QCOMPARE(rig.panel.fadeOutCount, 0);

        rig.hud.toggleExpand();
        QCOMPARE(rig.panel.contentHeight(), 260);
        rig.scheduler.advance(5.9);
        QCOMPARE(rig.panel.fadeOutCount, 0);
        rig.scheduler.advance(0.2);
        QCOMPARE(rig.panel.fadeOutCount, 1);
    }

    void cardHeightFollowsLinesQuestionAndHint()
    {
        Rig rig;
        const QString fourLines = QStringLiteral("one\ntwo\nthree\nfour");
        rig.answer(QStringLiteral("one two three four"));
        const int oneLine = rig.panel.contentHeight();
        QCOMPARE(oneLine, 96);
        rig.answer(fourLines);
        const int plain = rig.panel.contentHeight();
        QVERIFY2(plain > oneLine + 30, qPrintable(QString::number(plain)));

        rig.answer(fourLines, QStringLiteral("Right Ctrl"));
        QCOMPARE(rig.panel.contentHeight(), plain + 33);
        QCOMPARE(rig.hud.state()->followUpHint(), QStringLiteral("Right Ctrl"));

        rig.hud.startStreaming(QStringLiteral("  What is this?\n"));
        QCOMPARE(rig.hud.state()->question(), QStringLiteral("What is this?"));
        rig.hud.finishStreaming(QString(), fourLines);
        QVERIFY(rig.panel.contentHeight() > plain + 12);
        rig.hud.startStreaming(QStringLiteral(" \n "));
        QCOMPARE(rig.hud.state()->question(), QString());
        QCOMPARE(rig.hud.state()->followUpHint(), QString());
    }

    void streamingResizesSparinglyAndWithoutAnimation()
    {
        Rig rig;
        rig.hud.showError(QStringLiteral("short"));
        rig.scheduler.advance(1);
        rig.hud.appendStreaming(words(800));
        QCOMPARE(rig.hud.state()->modeText(), QStringLiteral("short") + words(800));
        QCOMPARE(rig.panel.frames.size(), 1);

        rig.hud.startStreaming(QStringLiteral("Question"));
        QCOMPARE(rig.hud.state()->modeText(), QStringLiteral("…"));
        QVERIFY(rig.hud.state()->streaming());
        QCOMPARE(rig.panel.frames.size(), 2);

        QString expected;
        double lastResize = rig.clock.now();
        int lastHeight = rig.panel.contentHeight();
        // Deltas of about a line each 20 ms, with single letters in between.
        for (int i = 0; i < 150; ++i) {
            rig.scheduler.advance(0.02);
            const QString delta =
                i % 3 ? QStringLiteral("streamed words arrive ").repeated(2) : QStringLiteral("w");
            expected += delta;
            const auto before = rig.panel.frames.size();
            rig.hud.appendStreaming(delta);
            QCOMPARE(rig.hud.state()->modeText(), expected);
            if (rig.panel.frames.size() == before)
                continue;
            QVERIFY(rig.clock.now() - lastResize > 0.08);
            QVERIFY(!rig.panel.frames.last().animated);
            QVERIFY(std::abs(rig.panel.contentHeight() - lastHeight) > 6);
            lastResize = rig.clock.now();
            lastHeight = rig.panel.contentHeight();
        }
        QVERIFY(rig.panel.frames.size() > 2);
        QCOMPARE(rig.panel.contentHeight(), 260);
        // No countdown runs while the answer arrives, not even after the pointer leaves.
        rig.hud.hoverChanged(true);
        rig.hud.hoverChanged(false);
        rig.scheduler.advance(60);
        QCOMPARE(rig.panel.fadeOutCount, 0);

        rig.hud.finishStreaming(QString(), QString());
        QCOMPARE(rig.hud.state()->modeText(), expected);
        QVERIFY(!rig.hud.state()->streaming());
        rig.scheduler.advance(29.9);
        QCOMPARE(rig.panel.fadeOutCount, 0);
        rig.scheduler.advance(0.2);
        QCOMPARE(rig.panel.fadeOutCount, 1);
    }

    void hoverHoldsTheCardAndLeavingRestartsFourSeconds()
    {
        Rig rig;
        rig.hud.showError(QStringLiteral("The backend is not reachable."));
        rig.scheduler.advance(8);
        rig.hud.state()->hoverChanged(true);
        rig.scheduler.advance(60);
        QCOMPARE(rig.panel.fadeOutCount, 0);
        rig.hud.state()->hoverChanged(false);
        rig.scheduler.advance(3.9);
        QCOMPARE(rig.panel.fadeOutCount, 0);
        rig.scheduler.advance(0.2);
        QCOMPARE(rig.panel.fadeOutCount, 1);

        // Hovering the pill means nothing.
        rig.hud.show(HUDMode::processing(CaptureMode::paste));
        rig.hud.hoverChanged(false);
        rig.scheduler.advance(60);
        QCOMPARE(rig.panel.fadeOutCount, 1);
    }

    void draggedCardKeepsItsPlaceUntilTheNextPill()
    {
        Rig rig;
        rig.hud.showError(QStringLiteral("short"));
        const QRect centred = rig.panel.currentFrame;
        QCOMPARE(centred.x(), (1920 - 528) / 2);
        rig.panel.dragTo(QPoint(600, -44));

        rig.hud.showError(words(1500));
        QCOMPARE(rig.panel.currentFrame, QRect(600, -44, 528, 260 + 88));
        rig.hud.toggleExpand();
        QCOMPARE(rig.panel.currentFrame.topLeft(), QPoint(600, -44));
        QVERIFY(rig.panel.currentFrame.height() > 260 + 88);

        rig.hud.show(HUDMode::recording(CaptureMode::paste));
        QCOMPARE(rig.panel.currentFrame.x(), (1920 - 308) / 2);
        // The pill cannot be pinned, and our own moves never pin anything.
        rig.panel.dragTo(QPoint(10, 10));
        rig.hud.showError(QStringLiteral("short"));
        QCOMPARE(rig.panel.currentFrame, centred);
    }

    void placementKeepsTheContentOnScreen()
    {
        Rig rig;
        const QRect screen(1920, 0, 1280, 1024);
        rig.screens.screen = screen;
        rig.hud.showError(QStringLiteral("short"));
        const int height = rig.panel.currentFrame.height();

        rig.panel.dragTo(QPoint(1920 - 300, 500));
        rig.hud.showError(QStringLiteral("again"));
        QCOMPARE(rig.panel.currentFrame.topLeft(), QPoint(1920 - 44, 500));

        rig.panel.dragTo(QPoint(4000, -400));
        rig.hud.showError(QStringLiteral("again"));
        QCOMPARE(rig.panel.currentFrame.topLeft(), QPoint(1920 + 1280 + 44 - 528, -44));

        rig.panel.dragTo(QPoint(2000, 5000));
        rig.hud.showError(QStringLiteral("again"));
        QCOMPARE(rig.panel.currentFrame.topLeft(), QPoint(2000, 1024 + 44 - height));

        // Without a screen nothing moves, but the card still shows.
        rig.screens.screen.reset();
        const auto frames = rig.panel.frames.size();
        rig.hud.showError(words(500));
        QCOMPARE(rig.panel.frames.size(), frames);
        QCOMPARE(rig.hud.state()->modeKind(), QStringLiteral("error"));
    }

    void historyReplacesTheAnswerUntilClosed()
    {
        Rig rig;
        rig.hud.showError(QStringLiteral("failed"));
        rig.hud.toggleHistory();
        QVERIFY(!rig.hud.state()->showingHistory());

        rig.answer(QStringLiteral("forty-two"));
        rig.hud.state()->toggleHistory();
        QTRY_COMPARE(rig.historyRefreshes(), 1);
        QVERIFY(rig.hud.state()->showingHistory());
        QCOMPARE(rig.panel.contentHeight(), 560);
        rig.hud.hoverChanged(false);
        rig.scheduler.advance(120);
        QCOMPARE(rig.panel.fadeOutCount, 0);

        rig.hud.toggleHistory();
        QCOMPARE(rig.panel.contentHeight(), 96);
        rig.scheduler.advance(6.1);
        QCOMPARE(rig.panel.fadeOutCount, 1);
    }

    void closingResetsTheStateUnlessSomethingNewAppeared()
    {
        Rig rig;
        rig.answer(words(3000));
        rig.hud.toggleExpand();
        rig.hud.toggleHistory();
        rig.hud.state()->close();
        QVERIFY(rig.panel.fadingOut());
        rig.panel.completeFadeOut();
        QCOMPARE(rig.hud.state()->modeKind(), QStringLiteral("hidden"));
        QVERIFY(!rig.hud.state()->expanded());
        QVERIFY(!rig.hud.state()->showingHistory());

        // A pill that arrives during the fade-out must survive its end.
        rig.hud.showError(QStringLiteral("failed"));
        rig.hud.hide();
        rig.hud.show(HUDMode::recording(CaptureMode::screen));
        QCOMPARE(rig.panel.fadeInCount, 3);
        rig.panel.completeFadeOut();
        QCOMPARE(rig.hud.state()->modeKind(), QStringLiteral("recording"));
        QCOMPARE(rig.panel.acceptsMouse, false);

        // Closing mid-answer: the rest of the stream does not bring the card back.
        rig.hud.startStreaming(QString());
        rig.hud.hide();
        rig.panel.completeFadeOut();
        rig.hud.appendStreaming(QStringLiteral("late"));
        rig.hud.finishStreaming(QString(), QString());
        QCOMPARE(rig.panel.fadeInCount, 3);
        QVERIFY(!rig.panel.isVisible());
    }

    // The backend lists chat lines newest first and not always in pairs.
    void historyPairsQuestionsWithTheirAnswersNewestFirst()
    {
        const QDateTime t0 = QDateTime::fromSecsSinceEpoch(1700000000, Qt::UTC);
        const auto entry = [&](int second, EntryKind kind, const char *text) {
            return HistoryEntry{QString::number(second), t0.addSecs(second), kind,
                                QString::fromUtf8(text)};
        };
        const auto pair = [](const char *question, const char *answer) {
            return QVariant(QVariantMap{{"question", QString::fromUtf8(question)},
                                        {"answer", QString::fromUtf8(answer)}});
        };
        const QVariantList pairs = HUDHistory::pair({
            entry(60, EntryKind::answer, "same instant"),
            entry(60, EntryKind::question, "asked and answered at once"),
            entry(50, EntryKind::question, "unanswered"),
            entry(40, EntryKind::answer, "four"),
            entry(30, EntryKind::question, "two plus two"),
            entry(20, EntryKind::answer, "orphan answer"),
            entry(15, EntryKind::dictation, "ignored"),
            entry(10, EntryKind::question, "first"),
            entry(11, EntryKind::question, "second"),
            entry(12, EntryKind::answer, "to second"),
        });
        QCOMPARE(pairs, (QVariantList{pair("asked and answered at once", "same instant"),
                                      pair("unanswered", ""), pair("two plus two", "four"),
                                      pair("", "orphan answer"), pair("second", "to second"),
                                      pair("first", "")}));
        QVERIFY(HUDHistory::pair({}).isEmpty());
    }
};

QTEST_MAIN(TestRecordingHUD)
#include "TestRecordingHUD.moc"
