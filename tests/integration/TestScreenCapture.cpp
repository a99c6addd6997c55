// The screenshot on a real X server: taken the moment it is asked for, so a panel of ours
// shown right after (as the recording pill is) is not in the picture, and one shown before
// is taken away first; the pointer is drawn in.
#include "platform/linux/X11WindowSystem.h"
#include "screenshot/ScreenCapturer.h"
#include "support/TestEnvironment.h"

#include <QCursor>
#include <QGuiApplication>
#include <QPainter>
#include <QRasterWindow>
#include <QScreen>
#include <QTest>

namespace {

// A frameless, non-activating, always-on-top window like the HUD, painted one colour.
class Panel : public QRasterWindow
{
public:
    Panel()
    {
        setFlags(Qt::Tool | Qt::FramelessWindowHint | Qt::WindowStaysOnTopHint |
                 Qt::WindowDoesNotAcceptFocus | Qt::WindowTransparentForInput);
        setGeometry(400, 300, 320, 120);
    }

protected:
    void paintEvent(QPaintEvent *) override
    {
        QPainter(this).fillRect(QRect(QPoint(), size()), Qt::magenta);
    }
};

bool isMagenta(QRgb pixel)
{
    // JPEG shifts colours a little.
    return qRed(pixel) > 200 && qGreen(pixel) < 60 && qBlue(pixel) > 200;
}

QImage capture(double maxDimension, const WindowSystem *windows = nullptr,
               const QList<QWindow *> &leaveOut = {})
{
    ScreenCapturer capturer(windows);
    const std::optional<QByteArray> jpeg =
        QCoro::waitFor(capturer.captureActiveDisplay(maxDimension, 0.6, leaveOut));
    return jpeg ? QImage::fromData(*jpeg, "JPEG") : QImage();
}

// Pixels of `picture` in the 12 × 12 square from `corner` that are not magenta.
int otherPixels(const QImage &picture, QPoint corner)
{
    int count = 0;
    for (int y = 0; y < 12; ++y) {
        for (int x = 0; x < 12; ++x)
            count += !isMagenta(picture.pixel(corner + QPoint(x, y)));
    }
    return count;
}

} // namespace

class TestScreenCapture : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void initTestCase()
    {
        OVRIN_REQUIRE_SERVICE(QGuiApplication::platformName() == QLatin1String("xcb"),
                              "an X server");
        QCursor::setPos(QPoint(10, 10));
    }

    void panelShownAfterTheCaptureIsNotInIt()
    {
        ScreenCapturer capturer;
        QCoro::Task<std::optional<QByteArray>> pending = capturer.captureActiveDisplay(1568, 0.6);
        Panel panel;
        panel.show();
        QVERIFY(QTest::qWaitForWindowExposed(&panel));
        QTest::qWait(200); // painted and on screen

        const std::optional<QByteArray> jpeg = QCoro::waitFor(pending);
        QVERIFY(jpeg);
        const QImage before = QImage::fromData(*jpeg, "JPEG");
        const QSize screen = QGuiApplication::primaryScreen()->size();
        QCOMPARE(before.size(), screen); // smaller than the limit: its own size
        const QPoint middle = panel.geometry().center();
        QVERIFY(!isMagenta(before.pixel(middle)));

        // The same check sees the panel once it was on screen before the capture.
        const QImage after = capture(1568);
        QVERIFY(isMagenta(after.pixel(middle)));
    }

    void panelOnScreenBeforeIsLeftOut()
    {
        Panel panel;
        panel.show();
        QVERIFY(QTest::qWaitForWindowExposed(&panel));
        QTest::qWait(200);
        const QImage picture = capture(1568, nullptr, {&panel, nullptr});
        QVERIFY(!panel.isVisible());
        QVERIFY(!isMagenta(picture.pixel(panel.geometry().center())));
    }

    void pointerIsDrawnIn()
    {
        Panel panel;
        panel.show();
        QVERIFY(QTest::qWaitForWindowExposed(&panel));
        const QPoint tip = panel.geometry().center();
        QCursor::setPos(tip);
        QTest::qWait(200);
        X11WindowSystem windows;
        QVERIFY(windows.pointer());
        // The display server's own grab has no pointer; ours draws it where it points.
        QCOMPARE(otherPixels(capture(1568), tip), 0);
        QVERIFY(otherPixels(capture(1568, &windows), tip) > 4);
        QCursor::setPos(QPoint(10, 10));
    }

    void scaledDownToTheLimit()
    {
        const QSize screen = QGuiApplication::primaryScreen()->size();
        const QImage picture = capture(screen.width() / 2.0);
        QCOMPARE(picture.size(), screen / 2);
    }
};

QTEST_MAIN(TestScreenCapture)
#include "TestScreenCapture.moc"
