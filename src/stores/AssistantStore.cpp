#include "stores/AssistantStore.h"

#include "backend/Backend.h"
#include "core/DescribedError.h"
#include "core/ProcessWide.h"
#include "stores/RecordRoles.h"

#include <QCoreApplication>
#include <QPointer>

#include <algorithm>

AssistantStore &AssistantStore::shared()
{
    return processWide<AssistantStore>([] { return new AssistantStore(Backend::shared()); });
}

AssistantStore::AssistantStore(Backend &backend, QObject *parent)
    : QObject(parent), m_backend(backend),
      m_tasksModel(new RecordListModel(RecordRoles::of<AssistantTask>(), this)),
      m_remindersModel(new RecordListModel(RecordRoles::of<Reminder>(), this)),
      m_memoriesModel(new RecordListModel(RecordRoles::of<MemoryItem>(), this)),
      m_projectsModel(new RecordListModel(RecordRoles::of<Project>(), this))
{}

std::optional<QString> AssistantStore::projectName(const std::optional<QString> &id) const
{
    if (!id)
        return std::nullopt;
    const auto found = m_projectsById.constFind(*id);
    if (found == m_projectsById.constEnd())
        return std::nullopt;
    return found->name;
}

QList<AssistantTask> AssistantStore::tasksFor(const QString &project) const
{
    QList<AssistantTask> found;
    for (const AssistantTask &task : m_tasks) {
        if (task.project == project)
            found.append(task);
    }
    return found;
}

QList<MemoryItem> AssistantStore::memoriesFor(const QString &project) const
{
    QList<MemoryItem> found;
    for (const MemoryItem &memory : m_memories) {
        if (memory.projects.contains(project))
            found.append(memory);
    }
    return found;
}

// A refresh forgets the failure before it, so a page shows only what is wrong now.
void AssistantStore::refreshTasks()
{
    setLoadError({});
    fetchList(&Backend::tasks);
}

void AssistantStore::refreshReminders()
{
    setLoadError({});
    fetchList(&Backend::reminders);
}

void AssistantStore::refreshMemories()
{
    setLoadError({});
    fetchList(&Backend::memories);
}

void AssistantStore::refreshProjects()
{
    setLoadError({});
    fetchAll();
}

void AssistantStore::loadProjects()
{
    fetchProjects();
}

// Not a coroutine itself: GCC 12 reads a coroutine's pointer-to-member parameters from the
// wrong stack slot.
template <class T>
QCoro::Task<void> AssistantStore::fetchList(QCoro::Task<QList<T>> (Backend::*get)())
{
    return receiveList((m_backend.*get)());
}

template <class T> QCoro::Task<void> AssistantStore::receiveList(QCoro::Task<QList<T>> request)
{
    QPointer<AssistantStore> self(this);
    try {
        QList<T> items = co_await request;
        if (self)
            replace(std::move(items));
    } catch (...) {
        if (self)
            setLoadError(DescribedError::describe(std::current_exception()));
    }
}

QCoro::Task<void> AssistantStore::fetchProjects()
{
    QPointer<AssistantStore> self(this);
    try {
        const QList<Project> projects = co_await m_backend.projects();
        if (!self)
            co_return;
        QHash<QString, Project> byId;
        for (const Project &project : projects)
            byId.insert(project.id, project);
        setProjects(std::move(byId));
    } catch (...) {
        // Projects only name groups; the lists are usable without fresh ones.
    }
}

QCoro::Task<void> AssistantStore::fetchAll()
{
    QPointer<AssistantStore> self(this);
    co_await fetchList(&Backend::tasks);
    if (!self)
        co_return;
    co_await fetchList(&Backend::memories);
    if (!self)
        co_return;
    co_await fetchProjects();
}

void AssistantStore::setTaskDone(QString id, bool done)
{
    QList<AssistantTask> tasks = m_tasks;
    bool changed = false;
    for (AssistantTask &task : tasks) {
        if (task.id == id && task.done != done) {
            task.done = done;
            changed = true;
        }
    }
    if (changed)
        replace(std::move(tasks));
    m_backend.completeTask(id, done);
}

void AssistantStore::deleteTask(QString id)
{
    QList<AssistantTask> tasks = m_tasks;
    tasks.removeIf([&](const AssistantTask &task) { return task.id == id; });
    replace(std::move(tasks));
    m_backend.deleteTask(id);
}

void AssistantStore::deleteReminder(QString id)
{
    QList<Reminder> reminders = m_reminders;
    reminders.removeIf([&](const Reminder &reminder) { return reminder.id == id; });
    replace(std::move(reminders));
    m_backend.deleteReminder(id);
}

void AssistantStore::deleteMemory(QString id)
{
    QList<MemoryItem> memories = m_memories;
    memories.removeIf([&](const MemoryItem &memory) { return memory.id == id; });
    replace(std::move(memories));
    m_backend.deleteMemory(id);
}

void AssistantStore::reset()
{
    replace(QList<AssistantTask>());
    replace(QList<Reminder>());
    replace(QList<MemoryItem>());
    setProjects({});
    setLoadError({});
}

void AssistantStore::replace(QList<AssistantTask> tasks)
{
    m_tasks = std::move(tasks);
    m_tasksModel->setRecords(m_tasks);
}

void AssistantStore::replace(QList<Reminder> reminders)
{
    m_reminders = std::move(reminders);
    m_remindersModel->setRecords(m_reminders);
}

void AssistantStore::replace(QList<MemoryItem> memories)
{
    m_memories = std::move(memories);
    m_memoriesModel->setRecords(m_memories);
}

void AssistantStore::setProjects(QHash<QString, Project> projects)
{
    m_projectsById = std::move(projects);
    m_projects = m_projectsById.values();
    // Ties broken by id, so the order does not follow the hash's.
    std::sort(m_projects.begin(), m_projects.end(), [](const Project &a, const Project &b) {
        const int byName = a.name.compare(b.name, Qt::CaseInsensitive);
        return byName != 0 ? byName < 0 : a.id < b.id;
    });
    m_projectsModel->setRecords(m_projects);
}

void AssistantStore::setLoadError(const QString &error)
{
    if (error == m_loadError)
        return;
    m_loadError = error;
    Q_EMIT loadErrorChanged();
}
