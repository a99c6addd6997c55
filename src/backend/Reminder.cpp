#include "backend/Reminder.h"

#include "backend/JsonFields.h"

Reminder Reminder::fromJson(const QJsonValue &value)
{
    const QJsonObject o = JsonFields::asObject(value, QStringLiteral("reminder"));
    return Reminder{
        JsonFields::requiredString(o, QStringLiteral("id")),
        JsonFields::requiredString(o, QStringLiteral("title")),
        JsonFields::requiredDate(o, QStringLiteral("dueAt")),
        JsonFields::requiredBool(o, QStringLiteral("fired")),
        JsonFields::requiredDate(o, QStringLiteral("date")),
        JsonFields::requiredString(o, QStringLiteral("description")),
    };
}

QVariantMap Reminder::toVariant() const
{
    return {{QStringLiteral("id"), id},       {QStringLiteral("title"), title},
            {QStringLiteral("dueAt"), dueAt}, {QStringLiteral("fired"), fired},
            {QStringLiteral("date"), date},   {QStringLiteral("details"), details}};
}
