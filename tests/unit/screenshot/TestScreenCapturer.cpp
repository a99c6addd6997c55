#include "screenshot/ScreenCapturer.h"

#include <QCoro/QCoroTask>
#include <QGuiApplication>
#include <QImage>
#include <QRandomGenerator>
#include <QScreen>
#include <QTest>

namespace {

QImage decoded(const std::optional<QByteArray> &jpeg)
{
    return jpeg ? QImage::fromData(*jpeg, "JPEG") : QImage();
}

// Noise, so that the encoder's quality shows in the size of its output.
QImage noise(QSize size)
{
    QImage image(size, QImage::Format_RGB32);
    QRandomGenerator random(7);
    for (int y = 0; y < size.height(); ++y) {
        auto *line = reinterpret_cast<QRgb *>(image.scanLine(y));
        for (int x = 0; x < size.width(); ++x)
            line[x] = random.generate() | 0xff000000;
    }
    return image;
}

// The desktop's picture (a Wayland compositor's): answers at once or later, or refuses.
struct FakeGrabber : ScreenGrabber
{
    void grab(QRect area, Done done) override
    {
        asked.append(area);
        if (later) {
            pending = std::move(done);
            return;
        }
        picture ? done(*picture, {}) : done(std::nullopt, QStringLiteral("refused"));
    }
    QList<QRect> asked;
    std::optional<QImage> picture;
    bool later = false;
    Done pending;
};

} // namespace

class TestScreenCapturer : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void pictureFromTheDesktop()
    {
        FakeGrabber grabber;
        ScreenCapturer capturer(nullptr, &grabber);

        // Taken at once, of the screen under the pointer, and encoded.
        grabber.picture = noise(QSize(400, 300));
        QImage image = decoded(QCoro::waitFor(capturer.captureActiveDisplay(200, 0.8)));
        QCOMPARE(image.size(), QSize(200, 150));
        QCOMPARE(grabber.asked, QList<QRect>{QGuiApplication::primaryScreen()->geometry()});

        // The desktop asked the user first: the picture comes later.
        grabber.later = true;
        auto task = capturer.captureActiveDisplay(1000, 0.8);
        QVERIFY(grabber.pending);
        grabber.pending(noise(QSize(64, 48)), {});
        image = decoded(QCoro::waitFor(std::move(task)));
        QCOMPARE(image.size(), QSize(64, 48));

        // Refused: no picture.
        grabber.later = false;
        grabber.picture.reset();
        QVERIFY(!QCoro::waitFor(capturer.captureActiveDisplay(1000, 0.8)));
    }

    void scaledSize_data()
    {
        QTest::addColumn<QSize>("size");
        QTest::addColumn<double>("maxDimension");
        QTest::addColumn<QSize>("expected");
        // 2880 × (1568 / 2880) is 1567.999…: truncated, not rounded.
        QTest::newRow("landscape") << QSize(2880, 1800) << 1568.0 << QSize(1567, 979);
        QTest::newRow("portrait limited by height")
            << QSize(1800, 2880) << 1568.0 << QSize(979, 1567);
        QTest::newRow("smaller kept") << QSize(1280, 800) << 1568.0 << QSize(1280, 800);
        QTest::newRow("exactly the limit") << QSize(1000, 1568) << 1568.0 << QSize(1000, 1568);
        QTest::newRow("sliver at least 1") << QSize(10000, 3) << 1568.0 << QSize(1568, 1);
        QTest::newRow("no limit") << QSize(640, 480) << 0.0 << QSize(1, 1);
    }

    void scaledSize()
    {
        QFETCH(QSize, size);
        QFETCH(double, maxDimension);
        QFETCH(QSize, expected);
        QCOMPARE(ScreenCapturer::scaledSize(size, maxDimension), expected);
    }

    void jpegIsScaledAndHonoursQuality()
    {
        const QImage image = noise(QSize(1800, 2880));
        const auto medium = ScreenCapturer::jpeg(image, 1568, 0.6);
        QVERIFY(medium && medium->startsWith("\xff\xd8\xff"));
        QCOMPARE(decoded(medium).size(), QSize(979, 1567));

        const auto best = ScreenCapturer::jpeg(image, 1568, 1.0);
        QVERIFY(best && best->size() > medium->size() * 3 / 2);

        const QImage small = noise(QSize(300, 200));
        QCOMPARE(decoded(ScreenCapturer::jpeg(small, 1568, 0.6)).size(), QSize(300, 200));
        QVERIFY(!ScreenCapturer::jpeg(QImage(), 1568, 0.6));
    }

    void displayUnderCursor_data()
    {
        QTest::addColumn<QPoint>("pointer");
        QTest::addColumn<qsizetype>("primary");
        QTest::addColumn<qsizetype>("expected");
        QTest::newRow("first screen") << QPoint(10, 10) << qsizetype(1) << qsizetype(0);
        QTest::newRow("portrait screen") << QPoint(2000, 1500) << qsizetype(0) << qsizetype(1);
        QTest::newRow("shared edge: first in order")
            << QPoint(1919, 5) << qsizetype(1) << qsizetype(0);
        QTest::newRow("outside every screen") << QPoint(-50, 3000) << qsizetype(1) << qsizetype(1);
        QTest::newRow("outside, no primary") << QPoint(-50, 3000) << qsizetype(-1) << qsizetype(-1);
    }

    void displayUnderCursor()
    {
        QFETCH(QPoint, pointer);
        QFETCH(qsizetype, primary);
        QFETCH(qsizetype, expected);
        // A landscape screen and, to its right, a portrait one overlapping it by a column.
        const QList<QRect> frames{QRect(0, 0, 1920, 1080), QRect(1919, 0, 1080, 1920)};
        QCOMPARE(ScreenCapturer::displayUnderCursor(frames, primary, pointer), expected);
        QCOMPARE(ScreenCapturer::displayUnderCursor({}, -1, pointer), qsizetype(-1));
    }
};

QTEST_MAIN(TestScreenCapturer)
#include "TestScreenCapturer.moc"
