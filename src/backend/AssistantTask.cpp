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

namespace {

template <class T> QVariant orInvalid(const std::optional<T> &value)
{
    return value ? QVariant::fromValue(*value) : QVariant();
}

} // namespace

QVariantMap AssistantTask::toVariant() const
{
    return {{QStringLiteral("id"), id},
            {QStringLiteral("title"), title},
            {QStringLiteral("project"), orInvalid(project)},
            {QStringLiteral("done"), done},
            {QStringLiteral("dueAt"), orInvalid(dueAt)},
            {QStringLiteral("date"), date},
            {QStringLiteral("completedAt"), orInvalid(completedAt)},
            {QStringLiteral("details"), details}};
}
