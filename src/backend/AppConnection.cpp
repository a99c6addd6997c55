#include "backend/AppConnection.h"

#include "backend/JsonFields.h"

AppConnection AppConnection::fromJson(const QJsonValue &value)
{
    const QJsonObject o = JsonFields::asObject(value, QStringLiteral("app"));
    return AppConnection{
        JsonFields::requiredString(o, QStringLiteral("slug")),
        JsonFields::requiredString(o, QStringLiteral("label")),
        JsonFields::requiredBool(o, QStringLiteral("connected")),
    };
}
