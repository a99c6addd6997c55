#pragma once

#include <QJsonObject>
#include <QProcess>
#include <QProcessEnvironment>
#include <QString>

// The headless Wayland desktop the test script starts beside the X server (sway with
// XWayland), found through the OVRIN_TEST_WAYLAND_* variables, and a native Wayland GTK
// entry on it that prints its text whenever it changes.
class WaylandDesktop
{
public:
    WaylandDesktop();
    ~WaylandDesktop();
    WaylandDesktop(const WaylandDesktop &) = delete;
    WaylandDesktop &operator=(const WaylandDesktop &) = delete;

    bool isAvailable() const { return !m_socket.isEmpty(); }
    // The compositor's socket as an absolute path, good for WAYLAND_DISPLAY anywhere.
    const QString &socket() const { return m_socket; }
    const QString &runtimeDir() const { return m_runtime; }
    // The X server of the session (XWayland), where X clients of the desktop run.
    const QString &xDisplay() const { return m_xDisplay; }
    // What a program of this desktop's session sees.
    QProcessEnvironment environment() const;

    // A compositor command through its IPC (swaymsg); true when it succeeded.
    bool command(const QString &command);
    // The compositor's tree of windows; empty when it did not answer.
    QJsonObject tree();
    // The app_id (native) or class (XWayland) of the focused window; empty for none.
    QString focusedApplication();

    // Starts the GTK entry as a native Wayland client; true once it has the focus.
    bool startEntry();
    // True once the entry's text is `text`.
    bool entryReads(const QString &text, int timeoutMs = 10000);
    QString entryText() const { return m_entryText; }

private:
    QString m_socket;
    QString m_runtime;
    QString m_xDisplay;
    QString m_swaySocket;
    QProcess m_entry;
    QString m_entryText;
};
