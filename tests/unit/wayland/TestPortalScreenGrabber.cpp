// Screenshots through a fake portal's Screenshot on a private bus: the picture it names is
// read, cut to the area asked for and deleted; refusals, bad answers and silence are told.
#include "FakePortal.h"
#include "PrivateBus.h"
#include "platform/wayland/PortalScreenGrabber.h"

#include <QFile>
#include <QImage>
#include <QTemporaryDir>
#include <QTest>
#include <QUrl>

namespace {

const QString screenshot = QStringLiteral("org.freedesktop.portal.Screenshot");

struct Grab
{
    bool done = false;
    std::optional<QImage> picture;
    QString problem;
};

} // namespace

class TestPortalScreenGrabber : public QObject
{
    Q_OBJECT

    std::unique_ptr<PrivateBus> m_bus;
    std::unique_ptr<FakePortal> m_portal;
    QTemporaryDir m_pictures;

    // The portal answers `code` and names `file` (nothing when empty).
    void answer(std::optional<uint> code, const QString &file)
    {
        m_portal->handlers.insert(
            screenshot + ".Screenshot", m_portal->answering(code, [file](const QDBusMessage &) {
                return file.isEmpty() ? QVariantMap()
                                      : QVariantMap{{"uri", QUrl::fromLocalFile(file).toString()}};
            }));
    }

    // A 400×200 desktop picture: its left half red, its right half blue.
    QString desktopPicture()
    {
        QImage picture(400, 200, QImage::Format_RGB32);
        picture.fill(Qt::red);
        for (int y = 0; y < 200; ++y) {
            for (int x = 200; x < 400; ++x)
                picture.setPixelColor(x, y, Qt::blue);
        }
        const QString file = m_pictures.filePath("Screenshot.png");
        picture.save(file);
        return file;
    }

    Grab grab(PortalScreenGrabber &grabber, QRect area)
    {
        Grab result;
        int calls = 0;
        grabber.grab(area, [&](std::optional<QImage> picture, QString problem) {
            ++calls;
            result = {true, std::move(picture), std::move(problem)};
        });
        [&] { QVERIFY(!result.done); }(); // never from within the call
        m_bus->settle([&] { return result.done; });
        [&] { QVERIFY(calls <= 1); }();
        return result;
    }

private Q_SLOTS:
    void init()
    {
        m_bus = std::make_unique<PrivateBus>();
        OVRIN_REQUIRE_BUS(*m_bus);
        m_portal = std::make_unique<FakePortal>(*m_bus);
        m_portal->versions.insert(screenshot, 2);
        m_portal->handlers.insert("org.freedesktop.portal.Request.Close",
                                  [](const QDBusMessage &) { return QVariantList(); });
    }

    void cleanup()
    {
        m_portal.reset();
        m_bus.reset();
    }

    void cutToTheAreaAndDeleted()
    {
        // Two screens, the second left of the first; the picture has two pixels per point.
        PortalScreenGrabber grabber(m_bus->client(), m_bus->scheduler, QRect(-100, 0, 200, 100));
        const QString file = desktopPicture();
        answer(0, file);
        Grab right = grab(grabber, QRect(0, 0, 100, 100));
        QVERIFY2(right.picture, qPrintable(right.problem));
        QCOMPARE(right.picture->size(), QSize(200, 200));
        QCOMPARE(right.picture->pixelColor(0, 0), QColor(Qt::blue));
        QCOMPARE(right.picture->pixelColor(199, 199), QColor(Qt::blue));
        QVERIFY(!QFile::exists(file));
        const QVariantMap options = FakePortal::optionsOf(m_portal->callsOf("Screenshot")[0]);
        QCOMPARE(options.value("interactive").toBool(), false);
        QVERIFY(!options.value("handle_token").toString().isEmpty());
        QCOMPARE(m_portal->callsOf("Screenshot")[0].arguments().value(0).toString(), QString());

        desktopPicture();
        const Grab whole = grab(grabber, QRect());
        QVERIFY(whole.picture);
        QCOMPARE(whole.picture->size(), QSize(400, 200));

        desktopPicture();
        const Grab outside = grab(grabber, QRect(500, 500, 10, 10));
        QVERIFY(!outside.picture);
        QVERIFY(outside.problem.contains("off the screen"));
    }

    void refusedAndBrokenAnswers()
    {
        PortalScreenGrabber grabber(m_bus->client(), m_bus->scheduler, QRect(0, 0, 400, 200));
        answer(1, {});
        Grab refused = grab(grabber, {});
        QVERIFY(!refused.picture);
        QVERIFY2(refused.problem.contains("did not allow"), qPrintable(refused.problem));

        answer(0, {});
        QVERIFY(grab(grabber, {}).problem.contains("did not say where"));

        const QString broken = m_pictures.filePath("broken.png");
        QFile file(broken);
        QVERIFY(file.open(QIODevice::WriteOnly));
        file.write("not a picture");
        file.close();
        answer(0, broken);
        const Grab unreadable = grab(grabber, {});
        QVERIFY(!unreadable.picture);
        QVERIFY(unreadable.problem.contains("cannot be read"));
        QVERIFY(!QFile::exists(broken));
    }

    void silentPortalTimesOut()
    {
        PortalScreenGrabber grabber(m_bus->client(), m_bus->scheduler, QRect(0, 0, 400, 200));
        answer(std::nullopt, {});
        Grab result;
        grabber.grab({}, [&](std::optional<QImage> picture, QString problem) {
            result = {true, std::move(picture), std::move(problem)};
        });
        QVERIFY(m_bus->settle([&] { return m_portal->callsOf("Screenshot").size() == 1; }));
        m_bus->scheduler.advance(PortalScreenGrabber::timeoutSeconds - 1);
        QVERIFY(!result.done);
        m_bus->scheduler.advance(1);
        QVERIFY(result.done);
        QVERIFY(!result.picture);
        QVERIFY2(result.problem.contains("did not answer within 10 s"), qPrintable(result.problem));
        QVERIFY(m_bus->settle([&] { return m_portal->callsOf("Close").size() == 1; }));
    }
};

QTEST_MAIN(TestPortalScreenGrabber)
#include "TestPortalScreenGrabber.moc"
