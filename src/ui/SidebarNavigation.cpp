#include "ui/SidebarNavigation.h"

#include <QVariantMap>

namespace {

struct PageInfo
{
    const char *identity;
    const char *source;
};

// By id.
constexpr PageInfo pages[] = {
    {"home", "HomePage.qml"},
    {"settings", "SettingsPage.qml"},
    {"history-transcripts", "HistoryPage.qml"},
    {"console", "ConsolePage.qml"},
    {"history-chat", "HistoryPage.qml"},
    {"meetings", "MeetingsPage.qml"},
    {"tasks", "TasksPage.qml"},
    {"reminders", "RemindersPage.qml"},
    {"memory", "MemoryPage.qml"},
    {"projects", "ProjectsPage.qml"},
    {"dictionary", "DictionaryPage.qml"},
    {"connections", "ConnectionsPage.qml"},
};

const PageInfo &page(int id)
{
    return id >= 0 && id < int(std::size(pages)) ? pages[id] : pages[0];
}

// Our drawing of each iconName, in qrc:/Ovrin/Ui/icons/.
QString iconOf(const QString &iconName)
{
    return QStringLiteral("icons/%1.svg").arg(iconName);
}

} // namespace

const QList<SidebarNavSection> &SidebarNavigation::sections()
{
    static const QList<SidebarNavSection> list{
        {QString(), {{home, QStringLiteral("Home"), QStringLiteral("go-home")}}},
        {QStringLiteral("Voice"),
         {{transcripts, QStringLiteral("Transcripts"), QStringLiteral("transcripts")},
          {chat, QStringLiteral("Chat"), QStringLiteral("chat")},
          {meetings, QStringLiteral("Meetings"), QStringLiteral("meeting-record")},
          {dictionary, QStringLiteral("Dictionary"), QStringLiteral("dictionary")}}},
        {QStringLiteral("Workspace"),
         {{projects, QStringLiteral("Projects"), QStringLiteral("folder")},
          {connections, QStringLiteral("Connections"), QStringLiteral("connections")},
          {tasks, QStringLiteral("Tasks"), QStringLiteral("checklist")},
          {reminders, QStringLiteral("Reminders"), QStringLiteral("reminders")},
          {memory, QStringLiteral("Memory"), QStringLiteral("brain")}}},
        {QStringLiteral("System"),
         {{console, QStringLiteral("Console"), QStringLiteral("console")},
          {settings, QStringLiteral("Settings"), QStringLiteral("settings")}}},
    };
    return list;
}

QVariantList SidebarNavigation::sectionList() const
{
    QVariantList list;
    for (const SidebarNavSection &section : sections()) {
        QVariantList items;
        for (const SidebarNavItem &item : section.items)
            items.append(QVariantMap{{QStringLiteral("id"), item.id},
                                     {QStringLiteral("title"), item.title},
                                     {QStringLiteral("iconName"), item.iconName},
                                     {QStringLiteral("icon"), iconOf(item.iconName)}});
        list.append(QVariantMap{{QStringLiteral("title"), section.title},
                                {QStringLiteral("items"), items}});
    }
    return list;
}

QString SidebarNavigation::title(int id)
{
    for (const SidebarNavSection &section : sections()) {
        for (const SidebarNavItem &item : section.items) {
            if (item.id == id)
                return item.title;
        }
    }
    return {};
}

QString SidebarNavigation::pageIdentity(int id)
{
    return QString::fromLatin1(page(id).identity);
}

QString SidebarNavigation::pageSource(int id)
{
    return QString::fromLatin1(page(id).source);
}

QString SidebarNavigation::statusText(int activity, bool hotkeyIsDown)
{
    switch (activity) {
    case 1:
        return QStringLiteral("Listening…");
    case 2:
        return QStringLiteral("Transcribing…");
    default:
        return hotkeyIsDown ? QStringLiteral("Key held") : QStringLiteral("Ready");
    }
}
