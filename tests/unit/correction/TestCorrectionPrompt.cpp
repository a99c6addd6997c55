// The correction prompt's banner: replacement in place, the dismiss timer, placement on the
// pointer's screen; and the feature as a dictation uses it, from a fix in the field to the
// dictionary through the real store against a scripted backend.
#include "backend/Backend.h"
#include "core/ManualClock.h"
#include "core/ManualScheduler.h"
#include "correction/Corrections.h"
#include "desktop/FloatingPanel.h"
#include "platform/WindowSystem.h"
#include "stores/DictionaryStore.h"
#include "support/FakeBackendServer.h"
#include "support/FakePlatform.h"
#include "support/FakeScreens.h"

#include <QJsonArray>
#include <QQuickItem>
#include <QQuickWindow>
#include <QSignalSpy>
#include <QTest>

namespace {

const QRect laptop(0, 0, 1280, 776);
// A fade, and a hair more for the scheduler's sums of frame intervals.
constexpr double fade = CorrectionPrompt::fadeDuration + 1e-6;

// The offscreen platform warns on every opacity step and raise.
QtMessageHandler testLogger = nullptr;
void dropPlatformWarnings(QtMsgType type, const QMessageLogContext &context, const QString &text)
{
    if (!text.startsWith(QLatin1String("This plugin does not support")))
        testLogger(type, context, text);
}

QQuickItem *bannerItem(CorrectionPrompt &prompt, const char *name)
{
    return prompt.panel()->rootObject()->findChild<QQuickItem *>(QString::fromLatin1(name));
}

void click(CorrectionPrompt &prompt, const char *name)
{
    QQuickItem *item = bannerItem(prompt, name);
    QVERIFY(item);
    const QPointF centre = item->mapToScene(QPointF(item->width() / 2, item->height() / 2));
    QTest::mouseClick(prompt.panel(), Qt::LeftButton, {}, centre.toPoint());
}

struct CompositedDesktop : WindowSystem
{
    bool translucencyAvailable() const override { return true; }
    void showOnEveryWorkspace(quintptr) const override {}
    std::optional<Pointer> pointer() const override { return std::nullopt; }
};

} // namespace

class TestCorrectionPrompt : public QObject
{
    Q_OBJECT

    ManualClock m_clock;
    ManualScheduler m_scheduler{m_clock};
    FakeScreens m_screens;

private Q_SLOTS:
    void initTestCase()
    {
        // The offscreen platform has no OpenGL.
        QQuickWindow::setGraphicsApi(QSGRendererInterface::Software);
        testLogger = qInstallMessageHandler(dropPlatformWarnings);
        m_screens.screen = laptop;
    }

    void secondCorrectionReplacesTheFirst()
    {
        CorrectionPrompt prompt(m_scheduler, m_screens, nullptr);
        prompt.show("jon", "John");
        FloatingPanel *panel = prompt.panel();
        QVERIFY(panel);
        QVERIFY(QTest::qWaitForWindowExposed(panel));
        QVERIFY(!panel->isTranslucent());
        QCOMPARE(panel->flags() & Qt::WindowDoesNotAcceptFocus, Qt::WindowDoesNotAcceptFocus);
        m_scheduler.advance(fade);
        QCOMPARE(panel->opacity(), 1.0);

        m_scheduler.advance(3);
        prompt.show("teh", "the");
        QCOMPARE(prompt.panel(), panel);
        QCOMPARE(bannerItem(prompt, "correctedText")->property("text").toString(), "the");
        // Updated in place: no fade out and in again.
        m_scheduler.advance(CorrectionPrompt::fadeDuration / 2);
        QCOMPARE(panel->opacity(), 1.0);

        // Only the second show's timer counts.
        m_scheduler.advance(CorrectionPrompt::dismissDelay - CorrectionPrompt::fadeDuration / 2 -
                            0.01);
        QVERIFY(prompt.isVisible());
        m_scheduler.advance(0.02);
        QVERIFY(!prompt.isVisible());
        QVERIFY(panel->isVisible()); // still fading
        m_scheduler.advance(fade);
        QVERIFY(!panel->isVisible());
        QCOMPARE(panel->opacity(), 1.0);
        QCOMPARE(m_scheduler.pendingCount(), 0);

        // The kept panel comes back, faded in from nothing.
        prompt.show("form", "from");
        QCOMPARE(prompt.panel(), panel);
        QVERIFY(panel->isVisible());
        QCOMPARE(panel->opacity(), 0.0);
        m_scheduler.advance(fade);
        QCOMPARE(panel->opacity(), 1.0);
    }

    // A fix of a pasted word, typed into the field, is offered; "Add" stores it.
    void fixInTheFieldReachesTheDictionary()
    {
        FakeBackendServer server;
        QVERIFY(server.listen());
        Backend backend(server.baseURL(), &m_clock);
        DictionaryStore store(backend);
        FakeFocusedText focus;
        Corrections corrections(focus, m_clock, m_scheduler, store, m_screens, nullptr);
        QSignalSpy found(&corrections, &Corrections::correctionFound);
        CorrectionPrompt &prompt = corrections.prompt();

        focus.focused->text = QStringLiteral("meet jon at noon");
        corrections.watch(QStringLiteral("meet jon at noon"));
        m_scheduler.advance(CorrectionWatcher::baselineDelay);
        focus.focused->text = QStringLiteral("meet John at noon");
        m_scheduler.advance(CorrectionWatcher::pollInterval);
        m_scheduler.advance(CorrectionWatcher::settleDelay + CorrectionWatcher::pollInterval);
        QCOMPARE(found.size(), 1);
        QCOMPARE(found.first(), (QVariantList{"jon", "John"}));
        QVERIFY(prompt.isVisible());
        QCOMPARE(prompt.corrected(), QStringLiteral("John"));
        QCOMPARE(corrections.banner(), prompt.panel());

        // A new capture puts the banner away.
        corrections.dismiss();
        QVERIFY(!prompt.isVisible());

        // The close button hides without adding.
        prompt.show("jon", "John");
        QVERIFY(QTest::qWaitForWindowExposed(prompt.panel()));
        click(prompt, "closeButton");
        QVERIFY(!prompt.isVisible());

        server.once("POST", "/dictionary")
            .json({{"term", QJsonObject{{"id", "t1"},
                                        {"term", "can not"},
                                        {"variants", QJsonArray{"cant"}}}}});
        prompt.show("cant", "can not");
        m_scheduler.advance(fade);
        QVERIFY(prompt.isVisible());
        click(prompt, "addButton");
        QVERIFY(!prompt.isVisible());
        QTRY_COMPARE(store.terms().size(), 1);
        QCOMPARE(server.requestCount(), 1);
        QCOMPARE(server.lastRequest().json(),
                 (QJsonObject{{"term", "can not"}, {"variant", "cant"}}));
        m_scheduler.advance(fade);
        QVERIFY(!prompt.panel()->isVisible());
    }

    // The view draws a shadow only where alpha blends; elsewhere the window is cut to the card.
    void viewFollowsTheCompositor()
    {
        CompositedDesktop composited;
        CorrectionPrompt translucent(m_scheduler, m_screens, &composited);
        translucent.show("jon", "John");
        QVERIFY(translucent.panel()->isTranslucent());
        QCOMPARE(translucent.panel()->color(), QColor(Qt::transparent));
        QCOMPARE(translucent.panel()->rootObject()->property("translucent"), true);
        QVERIFY(translucent.panel()->mask().isEmpty());

        CorrectionPrompt opaque(m_scheduler, m_screens, nullptr);
        opaque.show("jon", "John");
        QCOMPARE(opaque.panel()->rootObject()->property("translucent"), false);
        const QRegion mask = opaque.panel()->mask();
        QVERIFY(mask.contains(QPoint(220, 60)));
        QVERIFY(!mask.contains(QPoint(10, 60)));
        QVERIFY(!mask.contains(QPoint(CorrectionPrompt::shadowPad, CorrectionPrompt::shadowPad)));
    }

    void placedOnTheScreenUnderThePointer()
    {
        // The pointer's screen's usable area, as the seam reports it; nothing between screens.
        FakeScreens screens;
        screens.screen = QRect(1280, 24, 1920, 1056);
        CorrectionPrompt prompt(m_scheduler, screens, nullptr);
        prompt.show("jon", "John");
        const QRect second = prompt.panel()->geometry();
        QCOMPARE(second.size(), CorrectionPrompt::size);
        QCOMPARE(second.x() + second.width() / 2, 1280 + 960);
        // The visible banner ends 96 above the bottom of the usable area; below it, the shadow pad.
        QCOMPARE(second.y() + second.height() - CorrectionPrompt::shadowPad, 24 + 1056 - 96);

        screens.screen = laptop;
        prompt.show("teh", "the");
        QCOMPARE(prompt.panel()->geometry(), QRect(640 - 220, 776 - 96 - 90, 440, 120));

        screens.screen.reset();
        prompt.show("form", "from");
        QCOMPARE(prompt.panel()->position(), QPoint(640 - 220, 776 - 96 - 90));
        QVERIFY(prompt.isVisible());
    }
};

QTEST_MAIN(TestCorrectionPrompt)
#include "TestCorrectionPrompt.moc"
