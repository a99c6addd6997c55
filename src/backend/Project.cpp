#include "backend/Project.h"

#include "backend/JsonFields.h"

Project Project::fromJson(const QJsonValue &value)
{
    const QJsonObject o = JsonFields::asObject(value, QStringLiteral("project"));
    return Project{
        JsonFields::requiredString(o, QStringLiteral("id")),
        JsonFields::requiredString(o, QStringLiteral("name")),
        JsonFields::requiredStringArray(o, QStringLiteral("aliases")),
        JsonFields::requiredString(o, QStringLiteral("summary")),
    };
}

QVariantMap Project::toVariant() const
{
    return {{QStringLiteral("id"), id},
            {QStringLiteral("name"), name},
            {QStringLiteral("aliases"), aliases},
            {QStringLiteral("summary"), summary}};
}
