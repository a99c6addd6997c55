#include "platform/wayland/WaylandConnection.h"

#include <QSocketNotifier>

#include <wayland-client.h>

#include <algorithm>

struct WaylandRegistryListener
{
    static void global(void *data, wl_registry *, uint32_t name, const char *interface,
                       uint32_t version)
    {
        auto *self = static_cast<WaylandConnection *>(data);
        const QString key = QString::fromLatin1(interface);
        self->m_globals.insert(key, std::max(version, self->m_globals.value(key)));
        self->m_names.insert(key, name);
    }
    static void globalRemove(void *data, wl_registry *, uint32_t name)
    {
        auto *self = static_cast<WaylandConnection *>(data);
        const QString key = self->m_names.key(name);
        if (!key.isEmpty()) {
            self->m_names.remove(key);
            self->m_globals.remove(key);
        }
    }
};

namespace {
const wl_registry_listener registryListener{&WaylandRegistryListener::global,
                                            &WaylandRegistryListener::globalRemove};
}

WaylandConnection::WaylandConnection(const QString &socket, QObject *parent) : QObject(parent)
{
    m_display = wl_display_connect(socket.isEmpty() ? nullptr : socket.toLocal8Bit().constData());
    if (!m_display)
        return;
    m_registry = wl_display_get_registry(m_display);
    wl_registry_add_listener(m_registry, &registryListener, this);
    if (wl_display_roundtrip(m_display) < 0) {
        wl_registry_destroy(m_registry);
        m_registry = nullptr;
        wl_display_disconnect(m_display);
        m_display = nullptr;
        return;
    }
    m_notifier =
        std::make_unique<QSocketNotifier>(wl_display_get_fd(m_display), QSocketNotifier::Read);
    connect(m_notifier.get(), &QSocketNotifier::activated, this, &WaylandConnection::dispatch);
}

WaylandConnection::~WaylandConnection()
{
    m_notifier.reset();
    if (m_seat)
        wl_seat_destroy(m_seat);
    if (m_registry)
        wl_registry_destroy(m_registry);
    if (m_display)
        wl_display_disconnect(m_display);
}

void *WaylandConnection::bind(const wl_interface *interface, quint32 version)
{
    const QString key = QString::fromLatin1(interface->name);
    if (!m_display || !m_names.contains(key))
        return nullptr;
    return wl_registry_bind(m_registry, m_names.value(key), interface,
                            std::min(version, m_globals.value(key)));
}

wl_seat *WaylandConnection::seat()
{
    if (!m_seat)
        m_seat = static_cast<wl_seat *>(bind(&wl_seat_interface, 1));
    return m_seat;
}

bool WaylandConnection::flush()
{
    return m_display && wl_display_flush(m_display) >= 0 && wl_display_get_error(m_display) == 0;
}

void WaylandConnection::dispatch()
{
    // Nothing we bind sends events we act on; reading keeps the socket from filling up.
    if (wl_display_dispatch(m_display) < 0)
        m_notifier->setEnabled(false);
}
