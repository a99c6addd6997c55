#include "platform/linux/XdgInstalledApps.h"

#include "core/Text.h"

#include <QDir>
#include <QDirIterator>
#include <QSet>

#include <gio/gdesktopappinfo.h>

#include <algorithm>

namespace {

QString homeDataDir(const QProcessEnvironment &environment)
{
    const QString dataHome = environment.value(QStringLiteral("XDG_DATA_HOME"));
    if (QDir::isAbsolutePath(dataHome))
        return dataHome;
    return environment.value(QStringLiteral("HOME"), QDir::homePath()) +
           QStringLiteral("/.local/share");
}

// Desktop-file IDs: the path below the applications folder with "/" turned into "-", so
// that an entry in an earlier folder hides the one of the same ID in a later folder.
QList<QPair<QString, QString>> desktopFiles(const QString &dir)
{
    QList<QPair<QString, QString>> files;
    const QDir root(dir);
    QDirIterator it(dir, {QStringLiteral("*.desktop")}, QDir::Files,
                    QDirIterator::Subdirectories | QDirIterator::FollowSymlinks);
    while (it.hasNext()) {
        const QString path = it.next();
        files.append({root.relativeFilePath(path).replace(u'/', u'-'), path});
    }
    std::sort(files.begin(), files.end());
    return files;
}

} // namespace

XdgInstalledApps::XdgInstalledApps()
    : XdgInstalledApps(applicationDirs(QProcessEnvironment::systemEnvironment()))
{}

XdgInstalledApps::XdgInstalledApps(QStringList dirs) : m_dirs(std::move(dirs)) {}

QStringList XdgInstalledApps::applicationDirs(const QProcessEnvironment &environment)
{
    const QString dataHome = homeDataDir(environment);
    QStringList dataDirs =
        environment.value(QStringLiteral("XDG_DATA_DIRS")).split(u':', Qt::SkipEmptyParts);
    if (dataDirs.isEmpty())
        dataDirs = {QStringLiteral("/usr/local/share"), QStringLiteral("/usr/share")};

    QStringList candidates{dataHome + QStringLiteral("/applications")};
    for (const QString &dir : dataDirs) {
        if (QDir::isAbsolutePath(dir))
            candidates.append(dir + QStringLiteral("/applications"));
    }
    // Usually on XDG_DATA_DIRS already, but not in sessions started without Flatpak's profile.
    candidates.append(dataHome + QStringLiteral("/flatpak/exports/share/applications"));
    candidates.append(QStringLiteral("/var/lib/flatpak/exports/share/applications"));

    QStringList dirs;
    for (const QString &dir : candidates) {
        const QString clean = QDir::cleanPath(dir);
        if (!dirs.contains(clean))
            dirs.append(clean);
    }
    return dirs;
}

QList<XdgInstalledApps::Entry> XdgInstalledApps::entries() const
{
    QList<Entry> entries;
    QSet<QString> seenIds;
    for (const QString &dir : m_dirs) {
        for (const auto &[id, path] : desktopFiles(dir)) {
            if (seenIds.contains(id))
                continue;
            seenIds.insert(id);
            // Null for broken files, other types and a TryExec program that is missing.
            GDesktopAppInfo *info = g_desktop_app_info_new_from_filename(path.toLocal8Bit());
            if (!info)
                continue;
            if (!g_desktop_app_info_get_is_hidden(info) &&
                !g_desktop_app_info_get_nodisplay(info)) {
                // The untranslated Name, as the application's own name on every account.
                gchar *name = g_desktop_app_info_get_string(info, "Name");
                const QString trimmed = Text::trimmed(QString::fromUtf8(name));
                g_free(name);
                if (!trimmed.isEmpty())
                    entries.append({trimmed, path});
            }
            g_object_unref(info);
        }
    }
    return entries;
}

QStringList XdgInstalledApps::names()
{
    QSet<QString> unique;
    for (const Entry &entry : entries())
        unique.insert(entry.name);
    // UTF-8 byte order is code-point order (UTF-16 order is not, above U+D7FF).
    QList<QPair<QByteArray, QString>> keyed;
    for (const QString &name : unique)
        keyed.append({name.toUtf8(), name});
    std::sort(keyed.begin(), keyed.end());
    QStringList names;
    for (const auto &pair : keyed)
        names.append(pair.second);
    return names;
}

bool XdgInstalledApps::open(const QString &name)
{
    const QString wanted = Text::trimmed(name);
    if (wanted.isEmpty())
        return false;
    const QList<Entry> all = entries();
    // An exact name first, as a file name would match: "notes" opens "Notes", not a longer
    // name that contains it.
    for (const Entry &entry : all) {
        if (entry.name.compare(wanted, Qt::CaseInsensitive) == 0)
            return launch(entry.path);
    }
    const QString lower = wanted.toLower();
    for (const Entry &entry : all) {
        if (entry.name.toLower().contains(lower))
            return launch(entry.path);
    }
    return false;
}

bool XdgInstalledApps::launch(const QString &path)
{
    GDesktopAppInfo *info = g_desktop_app_info_new_from_filename(path.toLocal8Bit());
    if (!info)
        return false;
    GAppLaunchContext *context = g_app_launch_context_new();
    GError *error = nullptr;
    const bool launched = g_app_info_launch(G_APP_INFO(info), nullptr, context, &error);
    g_clear_error(&error);
    g_object_unref(context);
    g_object_unref(info);
    return launched;
}
