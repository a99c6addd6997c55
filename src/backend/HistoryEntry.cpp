#include "backend/HistoryEntry.h"

#include "backend/JsonFields.h"

HistoryEntry HistoryEntry::fromJson(const QJsonValue &value)
{
    const QJsonObject o = JsonFields::asObject(value, QStringLiteral("entry"));
    HistoryEntry entry;
    entry.id = JsonFields::requiredString(o, QStringLiteral("id"));
    entry.date = JsonFields::requiredDate(o, QStringLiteral("date"));
    const QString kind = JsonFields::requiredString(o, QStringLiteral("kind"));
    const auto parsed = entryKindFromName(kind);
    if (!parsed)
        throw DecodingError::unknownValue(QStringLiteral("kind"), kind);
    entry.kind = *parsed;
    entry.text = JsonFields::requiredString(o, QStringLiteral("text"));
    return entry;
}

QVariantMap HistoryEntry::toVariant() const
{
    return {{QStringLiteral("id"), id},
            {QStringLiteral("date"), date},
            {QStringLiteral("kind"), entryKindName(kind)},
            {QStringLiteral("text"), text}};
}
