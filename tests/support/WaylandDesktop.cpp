#include "support/WaylandDesktop.h"

#include <QDeadlineTimer>
#include <QDir>
#include <QJsonArray>
#include <QJsonDocument>
#include <QTest>

namespace {

QJsonObject focusedNode(const QJsonObject &node)
{
    if (node.value(u"focused").toBool() && node.contains(u"pid"))
        return node;
    for (const char *key : {"nodes", "floating_nodes"}) {
        const QJsonArray children = node.value(QLatin1String(key)).toArray();
        for (const QJsonValue &child : children) {
            QJsonObject found = focusedNode(child.toObject());
            if (!found.isEmpty())
                return found;
        }
    }
    return {};
}

} // namespace

WaylandDesktop::WaylandDesktop()
{
    const QString runtime = qEnvironmentVariable("OVRIN_TEST_WAYLAND_RUNTIME");
    const QString display = qEnvironmentVariable("OVRIN_TEST_WAYLAND_DISPLAY");
    if (runtime.isEmpty() || display.isEmpty())
        return;
    m_runtime = runtime;
    m_socket = QDir::isAbsolutePath(display) ? display : QDir(runtime).filePath(display);
    m_xDisplay = qEnvironmentVariable("OVRIN_TEST_XWAYLAND_DISPLAY");
    m_swaySocket = qEnvironmentVariable("OVRIN_TEST_SWAYSOCK");
}

WaylandDesktop::~WaylandDesktop()
{
    if (m_entry.state() != QProcess::NotRunning) {
        m_entry.terminate();
        if (!m_entry.waitForFinished(3000))
            m_entry.kill();
        m_entry.waitForFinished(1000);
    }
}

QProcessEnvironment WaylandDesktop::environment() const
{
    QProcessEnvironment environment = QProcessEnvironment::systemEnvironment();
    // The sound server stays where the session's runtime folder had it.
    const QString runtime = environment.value(QStringLiteral("XDG_RUNTIME_DIR"));
    if (!environment.contains(QStringLiteral("PULSE_SERVER")) && !runtime.isEmpty())
        environment.insert(QStringLiteral("PULSE_SERVER"),
                           QStringLiteral("unix:") + runtime + QStringLiteral("/pulse/native"));
    environment.insert(QStringLiteral("WAYLAND_DISPLAY"), m_socket);
    environment.insert(QStringLiteral("XDG_RUNTIME_DIR"), m_runtime);
    environment.insert(QStringLiteral("XDG_SESSION_TYPE"), QStringLiteral("wayland"));
    environment.insert(QStringLiteral("XDG_CURRENT_DESKTOP"), QStringLiteral("sway"));
    environment.insert(QStringLiteral("SWAYSOCK"), m_swaySocket);
    if (!m_xDisplay.isEmpty())
        environment.insert(QStringLiteral("DISPLAY"), m_xDisplay);
    return environment;
}

bool WaylandDesktop::command(const QString &command)
{
    QProcess swaymsg;
    swaymsg.setProcessEnvironment(environment());
    swaymsg.start(QStringLiteral("swaymsg"), {command});
    return swaymsg.waitForFinished(5000) && swaymsg.exitCode() == 0;
}

QJsonObject WaylandDesktop::tree()
{
    QProcess swaymsg;
    swaymsg.setProcessEnvironment(environment());
    swaymsg.start(QStringLiteral("swaymsg"),
                  {QStringLiteral("-r"), QStringLiteral("-t"), QStringLiteral("get_tree")});
    if (!swaymsg.waitForFinished(5000) || swaymsg.exitCode() != 0)
        return {};
    return QJsonDocument::fromJson(swaymsg.readAllStandardOutput()).object();
}

QString WaylandDesktop::focusedApplication()
{
    const QJsonObject node = focusedNode(tree());
    const QString appId = node.value(u"app_id").toString();
    if (!appId.isEmpty())
        return appId;
    return node.value(u"window_properties").toObject().value(u"class").toString();
}

bool WaylandDesktop::startEntry()
{
    QProcessEnvironment environment = this->environment();
    environment.insert(QStringLiteral("GDK_BACKEND"), QStringLiteral("wayland"));
    environment.remove(QStringLiteral("DISPLAY"));
    m_entry.setProcessEnvironment(environment);
    QObject::connect(&m_entry, &QProcess::readyReadStandardOutput, &m_entry, [this] {
        while (m_entry.canReadLine())
            m_entryText = QString::fromUtf8(m_entry.readLine()).chopped(1);
    });
    m_entry.start(QStringLiteral("/usr/bin/python3"),
                  {QStringLiteral(OVRIN_TEST_SOURCE_DIR "/support/textfield/gtk_entry.py")});
    if (!m_entry.waitForStarted(5000))
        return false;
    const QDeadlineTimer deadline(15000);
    while (!deadline.hasExpired()) {
        if (focusedApplication() == u"gtk_entry.py")
            return true;
        QTest::qWait(100);
    }
    return false;
}

bool WaylandDesktop::entryReads(const QString &text, int timeoutMs)
{
    const QDeadlineTimer deadline(timeoutMs);
    while (m_entryText != text && !deadline.hasExpired())
        QTest::qWait(50);
    return m_entryText == text;
}
