// The correction banner on a real X server: shown while a text field of another process has
// the focus, it must leave the focus there, for typing and for a click on its own buttons.
#include "core/QtScheduler.h"
#include "correction/CorrectionPrompt.h"
#include "desktop/FloatingPanel.h"
#include "desktop/QtScreens.h"
#include "platform/linux/AtspiAccessibilitySwitch.h"
#include "platform/linux/X11WindowSystem.h"
#include "support/FocusedField.h"
#include "support/TestEnvironment.h"
#include "support/XTestKeyboard.h"

#include <QDir>
#include <QGuiApplication>
#include <QImage>
#include <QQuickItem>
#include <QScreen>
#include <QSet>
#include <QTest>

#include <X11/Xlib.h>
#include <X11/extensions/XTest.h>

class TestCorrectionPromptDesktop : public QObject
{
    Q_OBJECT

    Display *m_display = nullptr;
    XTestKeyboard m_keyboard;
    FocusedField m_field{QStringLiteral(TEXTFIELD_BINARY)};
    void clickAt(QPoint global)
    {
        XTestFakeMotionEvent(m_display, -1, global.x(), global.y(), CurrentTime);
        XTestFakeButtonEvent(m_display, 1, True, CurrentTime);
        XTestFakeButtonEvent(m_display, 1, False, CurrentTime);
        XFlush(m_display);
    }

private Q_SLOTS:
    void initTestCase()
    {
        m_display = XOpenDisplay(nullptr);
        OVRIN_REQUIRE_SERVICE(m_display && m_keyboard.isOpen(), "an X server with XTEST");
        OVRIN_REQUIRE_SERVICE(AtspiAccessibilitySwitch().isOn().has_value(), "the AT-SPI bus");
    }

    void cleanupTestCase()
    {
        if (m_display)
            XCloseDisplay(m_display);
    }

    void focusStaysInTheField()
    {
        QVERIFY(m_field.start());
        const Window fieldFocus = m_field.inputFocus();

        QtScheduler scheduler;
        X11WindowSystem probe;
        QStringList added;
        QtScreens screens;
        CorrectionPrompt prompt(scheduler, screens, &probe);
        QObject::connect(&prompt, &CorrectionPrompt::addRequested,
                         [&](const QString &term, const std::optional<QString> &heardAs) {
                             added << term + u'|' + heardAs.value_or("-");
                         });
        prompt.show("cant", "can not");
        FloatingPanel *panel = prompt.panel();
        QVERIFY(panel);
        QCOMPARE(panel->isTranslucent(), probe.translucencyAvailable());
        QVERIFY(QTest::qWaitForWindowExposed(panel));
        QTRY_COMPARE(panel->opacity(), 1.0);

        QVERIFY(m_field.typeKeepingFocus(m_keyboard, "hello"));
        QCOMPARE(m_field.inputFocus(), fieldFocus);
        QVERIFY(!QGuiApplication::focusWindow());

        // The banner as it looks on this display, kept for people to look at.
        QScreen *screen = panel->screen();
        const QImage shot =
            screen->grabWindow(0, panel->x(), panel->y(), panel->width(), panel->height())
                .toImage();
        const QString artifacts = QStringLiteral(TEST_ARTIFACT_DIR);
        QVERIFY(QDir().mkpath(artifacts));
        const QString name =
            panel->isTranslucent() ? "correction-banner-composited.png" : "correction-banner.png";
        QVERIFY(shot.save(artifacts + u'/' + name));
        // The card (inside the shadow margin) shows something: text and icons, not one colour.
        const int pad = CorrectionPrompt::shadowPad;
        QSet<QRgb> colours;
        for (int y = pad; y < shot.height() - pad; y += 2)
            for (int x = pad; x < shot.width() - pad; x += 2)
                colours.insert(shot.pixel(x, y));
        QVERIFY2(colours.size() > 8, qPrintable(QString::number(colours.size())));

        // A click on "Add" works without taking the focus either.
        QQuickItem *add = panel->rootObject()->findChild<QQuickItem *>("addButton");
        QVERIFY(add);
        const QPointF centre = add->mapToScene({add->width() / 2, add->height() / 2});
        clickAt(panel->mapToGlobal(centre.toPoint()));
        QTRY_COMPARE(added, QStringList{"can not|cant"});
        QCOMPARE(m_field.inputFocus(), fieldFocus);
        QTRY_VERIFY(!panel->isVisible());
    }
};

QTEST_MAIN(TestCorrectionPromptDesktop)
#include "TestCorrectionPromptDesktop.moc"
