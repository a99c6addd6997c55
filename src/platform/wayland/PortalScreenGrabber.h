#pragma once

#include "platform/ScreenGrabber.h"

#include <QDBusConnection>
#include <QObject>

class Scheduler;

// The screen through the portal's Screenshot interface, without its dialog. The portal writes
// the picture to a file (in the user's Pictures folder) and names it; we read it, cut out the
// part asked for and delete the file.
class PortalScreenGrabber : public QObject, public ScreenGrabber
{
    Q_OBJECT
public:
    static const QString interface; // org.freedesktop.portal.Screenshot
    // The first grab may wait for the user to allow screenshots.
    static constexpr double timeoutSeconds = 10;

    // `desktop`: the whole desktop in logical coordinates, for the scale between it and the
    // picture; empty for the virtual geometry of the application's screens at each grab.
    PortalScreenGrabber(QDBusConnection bus, Scheduler &scheduler, QRect desktop = {},
                        QObject *parent = nullptr);

    // Asynchronous: `done(true)`, later, when the portal has the interface (its version can be
    // read); false otherwise or after two seconds. Nothing is called once `context` is gone.
    static void offered(QDBusConnection bus, Scheduler &scheduler, QObject *context,
                        std::function<void(bool)> done);

    void grab(QRect area, Done done) override;

    // The part of `picture` that shows `area` of `desktop` (both logical); empty when none.
    static QRect pixelsOf(QRect area, QRect desktop, QSize picture);

private:
    void deliver(const QVariantMap &results, QRect area, const Done &done) const;
    QRect desktop() const;

    QDBusConnection m_bus;
    Scheduler &m_scheduler;
    QRect m_desktop;
};
