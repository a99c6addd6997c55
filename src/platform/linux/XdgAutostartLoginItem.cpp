#include "platform/linux/XdgAutostartLoginItem.h"

#include <QCoreApplication>
#include <QDir>
#include <QFile>
#include <QSaveFile>
#include <QStandardPaths>

namespace {

// The Exec value is unescaped twice: first as a string value (backslash escapes), then as
// a command line (double quotes, inside which ", `, $ and \ take a backslash). A literal
// % is written %% because % starts a field code.
QString execValue(const QString &path)
{
    static const QString reserved = QStringLiteral(" \t\n\"'\\><~|&;$*?#()`");
    bool needsQuotes = false;
    for (QChar c : path)
        needsQuotes = needsQuotes || reserved.contains(c);
    QString argument;
    if (needsQuotes) {
        for (QChar c : path) {
            if (c == u'"' || c == u'`' || c == u'$' || c == u'\\')
                argument += u'\\';
            argument += c;
        }
        argument = u'"' + argument + u'"';
    } else {
        argument = path;
    }
    QString value;
    for (QChar c : argument) {
        if (c == u'\\')
            value += QStringLiteral("\\\\");
        else if (c == u'%')
            value += QStringLiteral("%%");
        else if (c == u'\n')
            value += QStringLiteral("\\n");
        else
            value += c;
    }
    return value;
}

// The value of `key` in the [Desktop Entry] group; spaces around "=" are ignored.
QString readKey(const QString &contents, const QString &key)
{
    bool inEntryGroup = false;
    for (const QString &rawLine : contents.split(u'\n')) {
        const QString line = rawLine.trimmed();
        if (line.startsWith(u'[')) {
            inEntryGroup = line == u"[Desktop Entry]";
            continue;
        }
        const qsizetype equals = line.indexOf(u'=');
        if (inEntryGroup && equals > 0 && line.left(equals).trimmed() == key)
            return line.mid(equals + 1).trimmed();
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
                              .arg(execValue(m_executable));
    file.write(entry.toUtf8());
    if (!file.commit()) {
        error = QStringLiteral("Couldn't write %1: %2").arg(entryPath(), file.errorString());
        return false;
    }
    return true;
}
