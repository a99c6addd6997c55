#include "backend/DictionaryTerm.h"

#include "backend/JsonFields.h"

DictionaryTerm DictionaryTerm::fromJson(const QJsonValue &value)
{
    const QJsonObject o = JsonFields::asObject(value, QStringLiteral("term"));
    return DictionaryTerm{
        JsonFields::requiredString(o, QStringLiteral("id")),
        JsonFields::requiredString(o, QStringLiteral("term")),
        JsonFields::requiredStringArray(o, QStringLiteral("variants")),
    };
}

QVariantMap DictionaryTerm::toVariant() const
{
    return {{QStringLiteral("id"), id},
            {QStringLiteral("term"), term},
            {QStringLiteral("variants"), variants}};
}
