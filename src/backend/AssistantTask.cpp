#include "backend/AssistantTask.h"

#include "backend/JsonFields.h"

AssistantTask AssistantTask::fromJson(const QJsonValue &value)
{
    const QJsonObject o = JsonFields::asObject(value, QStringLiteral("task"));
    AssistantTask task;
    task.id = JsonFields::requiredString(o, QStringLiteral("id"));
    task.title = JsonFields::requiredString(o, QStringLiteral("title"));
    task.project = JsonFields::optionalString(o, QStringLiteral("project"));
    task.done = JsonFields::requiredBool(o, QStringLiteral("done"));
    task.dueAt = JsonFields::optionalDate(o, QStringLiteral("dueAt"));
    task.date = JsonFields::requiredDate(o, QStringLiteral("date"));
    task.completedAt = JsonFields::optionalDate(o, QStringLiteral("completedAt"));
    task.details = JsonFields::requiredString(o, QStringLiteral("description"));
    return task;
}
