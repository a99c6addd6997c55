#include "backend/MemoryItem.h"

#include "backend/JsonFields.h"

MemoryItem MemoryItem::fromJson(const QJsonValue &value)
{
    const QJsonObject o = JsonFields::asObject(value, QStringLiteral("memory"));
    return MemoryItem{
        JsonFields::requiredString(o, QStringLiteral("id")),
        JsonFields::requiredString(o, QStringLiteral("text")),
        JsonFields::requiredString(o, QStringLiteral("category")),
        JsonFields::requiredString(o, QStringLiteral("tier")),
        JsonFields::requiredStringArray(o, QStringLiteral("projects")),
        JsonFields::requiredString(o, QStringLiteral("source")),
        JsonFields::requiredDate(o, QStringLiteral("date")),
    };
}

QVariantMap MemoryItem::toVariant() const
{
    return {{QStringLiteral("id"), id},
            {QStringLiteral("text"), text},
            {QStringLiteral("category"), category},
            {QStringLiteral("tier"), tier},
            {QStringLiteral("projects"), projects},
            {QStringLiteral("source"), source},
            {QStringLiteral("date"), date}};
}
