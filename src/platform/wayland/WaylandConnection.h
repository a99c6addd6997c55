#pragma once

#include <QHash>
#include <QObject>
#include <QString>

#include <memory>

class QSocketNotifier;
struct wl_display;
struct wl_registry;
struct wl_seat;
struct wl_interface;

// The application's own connection to the Wayland compositor, next to the X connection Qt
// uses through XWayland: it tells which protocols the compositor offers and carries the
// objects of the rungs that speak them.
class WaylandConnection : public QObject
{
    Q_OBJECT
public:
    // `socket`: a WAYLAND_DISPLAY value; empty for the session's own.
    explicit WaylandConnection(const QString &socket = {}, QObject *parent = nullptr);
    ~WaylandConnection() override;

    bool isOpen() const { return m_display != nullptr; }
    // Interface name → highest version offered, as the registry announced them.
    const QHash<QString, quint32> &globals() const { return m_globals; }
    bool offers(const QString &interface) const { return m_globals.contains(interface); }

    // Binds the global offering `interface` at min(version, offered); null when not offered.
    void *bind(const wl_interface *interface, quint32 version);
    wl_seat *seat();
    // Sends what is queued; false once the compositor has gone.
    bool flush();
    wl_display *display() const { return m_display; }

private:
    void dispatch();

    wl_display *m_display = nullptr;
    wl_registry *m_registry = nullptr;
    wl_seat *m_seat = nullptr;
    QHash<QString, quint32> m_globals;
    QHash<QString, quint32> m_names; // interface → registry name
    std::unique_ptr<QSocketNotifier> m_notifier;

    friend struct WaylandRegistryListener;
};
