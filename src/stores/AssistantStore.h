#pragma once

#include "backend/AssistantTask.h"
#include "backend/MemoryItem.h"
#include "backend/Project.h"
#include "backend/Reminder.h"
#include "stores/RecordListModel.h"
#include "stores/UserDataCache.h"

#include <QCoro/QCoroTask>
#include <QHash>
#include <QObject>

#include <optional>

class Backend;

// What the assistant keeps for the user: tasks, reminders, memories, and the
// projects that group tasks and memories.
class AssistantStore : public QObject, public UserDataCache
{
    Q_OBJECT
    Q_PROPERTY(RecordListModel *tasks READ tasksModel CONSTANT)
    Q_PROPERTY(RecordListModel *reminders READ remindersModel CONSTANT)
    Q_PROPERTY(RecordListModel *memories READ memoriesModel CONSTANT)
    Q_PROPERTY(RecordListModel *projectsModel READ projectsModel CONSTANT)
    Q_PROPERTY(QString loadError READ loadError NOTIFY loadErrorChanged)
public:
    static AssistantStore &shared();
    explicit AssistantStore(Backend &backend, QObject *parent = nullptr);

    const QList<AssistantTask> &tasks() const { return m_tasks; }
    const QList<Reminder> &reminders() const { return m_reminders; }
    const QList<MemoryItem> &memories() const { return m_memories; }
    const QHash<QString, Project> &projectsById() const { return m_projectsById; }
    // By name, ignoring case.
    const QList<Project> &projects() const { return m_projects; }
    RecordListModel *tasksModel() const { return m_tasksModel; }
    RecordListModel *remindersModel() const { return m_remindersModel; }
    RecordListModel *memoriesModel() const { return m_memoriesModel; }
    RecordListModel *projectsModel() const { return m_projectsModel; }
    // The last failure of a list fetch; empty when there is none.
    const QString &loadError() const { return m_loadError; }

    std::optional<QString> projectName(const std::optional<QString> &id) const;
    QList<AssistantTask> tasksFor(const QString &project) const;
    QList<MemoryItem> memoriesFor(const QString &project) const;

    // Each of these returns at once; the outcome shows in the lists and loadError.
    Q_INVOKABLE void refreshTasks();
    Q_INVOKABLE void refreshReminders();
    Q_INVOKABLE void refreshMemories();
    // Tasks, then memories, then the projects, each whatever became of the one before.
    Q_INVOKABLE void refreshProjects();
    // A failure keeps the projects there are, and is not reported.
    Q_INVOKABLE void loadProjects();

    // These change the lists at once and do not wait for the backend's answer.
    Q_INVOKABLE void setTaskDone(QString id, bool done);
    Q_INVOKABLE void deleteTask(QString id);
    Q_INVOKABLE void deleteReminder(QString id);
    Q_INVOKABLE void deleteMemory(QString id);

    void reset() override;

Q_SIGNALS:
    void loadErrorChanged();

private:
    // Fetches one list with `get` and stores it; a failure becomes loadError and never
    // throws, so refreshProjects goes on after one.
    template <class T> QCoro::Task<void> fetchList(QCoro::Task<QList<T>> (Backend::*get)());
    template <class T> QCoro::Task<void> receiveList(QCoro::Task<QList<T>> request);
    QCoro::Task<void> fetchProjects();
    QCoro::Task<void> fetchAll();
    void replace(QList<AssistantTask> tasks);
    void replace(QList<Reminder> reminders);
    void replace(QList<MemoryItem> memories);
    void setProjects(QHash<QString, Project> projects);
    void setLoadError(const QString &error);

    Backend &m_backend;
    QList<AssistantTask> m_tasks;
    QList<Reminder> m_reminders;
    QList<MemoryItem> m_memories;
    QHash<QString, Project> m_projectsById;
    QList<Project> m_projects;
    RecordListModel *m_tasksModel;
    RecordListModel *m_remindersModel;
    RecordListModel *m_memoriesModel;
    RecordListModel *m_projectsModel;
    QString m_loadError;
};
