#include "platform/linux/XdgAutostartLoginItem.h"

#include <QCoreApplication>
#include <QDir>
#include <QFile>
#include <QSaveFile>
#include <QStandardPaths>

namespace {

// Quoting rules of the Exec key: arguments with reserved characters go in double
// quotes, inside which ", `, $ and \ are escaped with a backslash.
QString execArgument(const QString &path)
{
    static const QString reserved = QStringLiteral(" \t\n\"'\\><~|&;$*?#()`");
    bool needsQuotes = false;
    for (QChar c : path)
        needsQuotes = needsQuotes || reserved.contains(c);
    if (!needsQuotes)
        return path;
    QString quoted;
    for (QChar c : path) {
        if (c == u'"' || c == u'`' || c == u'$' || c == u'\\')
            quoted += u'\\';
        quoted += c;
    }
    return u'"' + quoted + u'"';
}

QString readKey(const QString &contents, const QString &key)
{
    const QString prefix = key + u'=';
    for (const QString &line : contents.split(u'\n')) {
        if (line.startsWith(prefix))
            return line.mid(prefix.size()).trimmed();
    }
    return {};
}

} // namespace

XdgAutostartLoginItem::XdgAutostartLoginItem(QString autostartDir, QString executable)
    : m_autostartDir(std::move(autostartDir)), m_executable(std::move(executable))
{
    if (m_autostartDir.isEmpty())
        m_autostartDir = QStandardPaths::writableLocation(QStandardPaths::GenericConfigLocation) +
                         QStringLiteral("/autostart");
    if (m_executable.isEmpty())
        m_executable = QCoreApplication::applicationFilePath();
}

QString XdgAutostartLoginItem::entryPath() const
{
    return m_autostartDir + QStringLiteral("/com.ovrin.app.desktop");
}

bool XdgAutostartLoginItem::isEnabled() const
{
    QFile file(entryPath());
    if (!file.open(QIODevice::ReadOnly))
        return false;
    const QString contents = QString::fromUtf8(file.readAll());
    return readKey(contents, QStringLiteral("Hidden")) != u"true" &&
           readKey(contents, QStringLiteral("X-GNOME-Autostart-enabled")) != u"false";
}

bool XdgAutostartLoginItem::setEnabled(bool on, QString &error)
{
    if (!on) {
        QFile file(entryPath());
        if (file.exists() && !file.remove()) {
            error = QStringLiteral("Couldn't remove %1: %2").arg(entryPath(), file.errorString());
            return false;
        }
        return true;
    }
    if (!QDir().mkpath(m_autostartDir)) {
        error = QStringLiteral("Couldn't create the folder %1.").arg(m_autostartDir);
        return false;
    }
    QSaveFile file(entryPath());
    if (!file.open(QIODevice::WriteOnly)) {
        error = QStringLiteral("Couldn't write %1: %2").arg(entryPath(), file.errorString());
        return false;
    }
    const QString entry = QStringLiteral("[Desktop Entry]\n"
                                         "Type=Application\n"
                                         "Name=Ovrin\n"
                                         "Comment=Voice assistant\n"
                                         "Exec=%1\n"
                                         "Icon=com.ovrin.app\n"
                                         "Terminal=false\n"
                                         "X-GNOME-Autostart-enabled=true\n")
                              .arg(execArgument(m_executable));
    file.write(entry.toUtf8());
    if (!file.commit()) {
        error = QStringLiteral("Couldn't write %1: %2").arg(entryPath(), file.errorString());
        return false;
    }
    return true;
}
