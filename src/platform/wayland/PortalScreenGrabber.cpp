#include "platform/wayland/PortalScreenGrabber.h"

#include "core/Scheduler.h"
#include "platform/wayland/PortalRequest.h"

#include <QFile>
#include <QGuiApplication>
#include <QImageReader>
#include <QScreen>
#include <QUrl>

const QString PortalScreenGrabber::interface = QStringLiteral("org.freedesktop.portal.Screenshot");

PortalScreenGrabber::PortalScreenGrabber(QDBusConnection bus, Scheduler &scheduler, QRect desktop,
                                         QObject *parent)
    : QObject(parent), m_bus(std::move(bus)), m_scheduler(scheduler), m_desktop(desktop)
{}

void PortalScreenGrabber::offered(QDBusConnection bus, Scheduler &scheduler, QObject *context,
                                  std::function<void(bool)> done)
{
    PortalRequest::interfaceOffered(std::move(bus), scheduler, interface, context, std::move(done));
}

void PortalScreenGrabber::grab(QRect area, Done done)
{
    if (!m_bus.isConnected()) {
        m_scheduler.post([done] {
            done(std::nullopt, QStringLiteral("No screenshot: there is no D-Bus session bus."));
        });
        return;
    }
    PortalRequest::send(
        m_bus, m_scheduler,
        [](const QString &token) {
            QDBusMessage call =
                QDBusMessage::createMethodCall(PortalRequest::service, PortalRequest::desktopPath,
                                               interface, QStringLiteral("Screenshot"));
            call << QString()
                 << QVariantMap{{QStringLiteral("handle_token"), token},
                                {QStringLiteral("interactive"), false}};
            return call;
        },
        timeoutSeconds, this,
        [this, area, done](const PortalRequest::Answer &answer) {
            switch (answer.outcome) {
            case PortalRequest::Outcome::granted:
                deliver(answer.results, area, done);
                return;
            case PortalRequest::Outcome::cancelled:
                done(std::nullopt, QStringLiteral("The desktop did not allow a screenshot. Allow "
                                                  "Ovrin to take screenshots in the desktop's "
                                                  "privacy settings."));
                return;
            default:
                done(std::nullopt, QStringLiteral("No screenshot: %1.").arg(answer.problem));
                return;
            }
        });
}

void PortalScreenGrabber::deliver(const QVariantMap &results, QRect area, const Done &done) const
{
    const QUrl uri(results.value(QStringLiteral("uri")).toString());
    if (!uri.isValid() || uri.isEmpty()) {
        done(std::nullopt, QStringLiteral("No screenshot: the desktop took one but did not say "
                                          "where it is."));
        return;
    }
    if (!uri.isLocalFile()) {
        done(std::nullopt, QStringLiteral("No screenshot: the desktop put it where Ovrin cannot "
                                          "read it (%1).")
                               .arg(uri.toDisplayString()));
        return;
    }
    const QString path = uri.toLocalFile();
    QImageReader reader(path);
    reader.setAutoTransform(true);
    const QImage picture = reader.read();
    // The portal's copy would otherwise pile up in the user's Pictures folder.
    QFile::remove(path);
    if (picture.isNull()) {
        done(std::nullopt, QStringLiteral("No screenshot: the desktop's picture cannot be read "
                                          "(%1).")
                               .arg(reader.errorString()));
        return;
    }
    if (area.isEmpty()) {
        done(picture, {});
        return;
    }
    const QRect pixels = pixelsOf(area, desktop(), picture.size());
    if (pixels.isEmpty()) {
        done(std::nullopt, QStringLiteral("No screenshot: the area asked for is off the screen."));
        return;
    }
    done(picture.copy(pixels), {});
}

QRect PortalScreenGrabber::desktop() const
{
    if (!m_desktop.isEmpty())
        return m_desktop;
    const QScreen *screen = QGuiApplication::primaryScreen();
    return screen ? screen->virtualGeometry() : QRect();
}

QRect PortalScreenGrabber::pixelsOf(QRect area, QRect desktop, QSize picture)
{
    // Without a known desktop the picture is taken to be it, pixel for point.
    if (desktop.isEmpty())
        desktop = QRect(QPoint(0, 0), picture);
    const double sx = double(picture.width()) / desktop.width();
    const double sy = double(picture.height()) / desktop.height();
    const QRect local = area.translated(-desktop.topLeft());
    const QRect pixels(qRound(local.x() * sx), qRound(local.y() * sy), qRound(local.width() * sx),
                       qRound(local.height() * sy));
    return pixels.intersected(QRect(QPoint(0, 0), picture));
}
