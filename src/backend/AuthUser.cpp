#include "backend/AuthUser.h"

#include "backend/JsonFields.h"
#include "core/Text.h"

QString AuthUser::initials() const
{
    const QString source = name.isEmpty() ? email : name;
    const QStringList pieces = source.split(QLatin1Char(' '), Qt::SkipEmptyParts);
    QString result;
    for (qsizetype i = 0; i < pieces.size() && i < 2; ++i)
        result += Text::firstCharacter(pieces[i]);
    return result.toUpper();
}

AuthUser AuthUser::fromJson(const QJsonValue &value)
{
    const QJsonObject o = JsonFields::asObject(value, QStringLiteral("user"));
    return AuthUser{
        JsonFields::requiredString(o, QStringLiteral("id")),
        JsonFields::requiredString(o, QStringLiteral("email")),
        JsonFields::requiredString(o, QStringLiteral("name")),
        JsonFields::requiredString(o, QStringLiteral("picture")),
        JsonFields::requiredString(o, QStringLiteral("provider")),
    };
}

QJsonObject AuthUser::toJson() const
{
    return QJsonObject{{QStringLiteral("id"), id},
                       {QStringLiteral("email"), email},
                       {QStringLiteral("name"), name},
                       {QStringLiteral("picture"), picture},
                       {QStringLiteral("provider"), provider}};
}
