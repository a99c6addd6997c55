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

// Our drawing of each symbol, in qrc:/Ovrin/Ui/icons/.
QString iconOf(const QString &symbol)
{
    return QStringLiteral("icons/%1.svg").arg(symbol);
}

} // namespace

const QList<SidebarNavSection> &SidebarNavigation::sections()
{
    static const QList<SidebarNavSection> list{
        {QString(), {{home, QStringLiteral("Home"), QStringLiteral("house.fill")}}},
        {QStringLiteral("Voice"),
         {{transcripts, QStringLiteral("Transcripts"), QStringLiteral("text.quote")},
          {chat, QStringLiteral("Chat"), QStringLiteral("bubble.left.and.bubble.right.fill")},
          {meetings, QStringLiteral("Meetings"), QStringLiteral("mic.badge.plus")},
          {dictionary, QStringLiteral("Dictionary"),
           QStringLiteral("character.book.closed.fill")}}},
        {QStringLiteral("Workspace"),
         {{projects, QStringLiteral("Projects"), QStringLiteral("folder.fill")},
          {connections, QStringLiteral("Connections"),
           QStringLiteral("puzzlepiece.extension.fill")},
          {tasks, QStringLiteral("Tasks"), QStringLiteral("checklist")},
          {reminders, QStringLiteral("Reminders"), QStringLiteral("bell.fill")},
          {memory, QStringLiteral("Memory"), QStringLiteral("brain")}}},
        {QStringLiteral("System"),
         {{console, QStringLiteral("Console"), QStringLiteral("terminal.fill")},
          {settings, QStringLiteral("Settings"), QStringLiteral("gearshape.fill")}}},
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
                                     {QStringLiteral("symbol"), item.symbol},
                                     {QStringLiteral("icon"), iconOf(item.symbol)}});
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
