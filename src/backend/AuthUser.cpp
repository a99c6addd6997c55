#include "backend/AuthUser.h"

#include "backend/JsonFields.h"

QString AuthUser::initials() const
{
    const QString source = name.isEmpty() ? email : name;
    const QStringList pieces = source.split(QLatin1Char(' '), Qt::SkipEmptyParts);
    QString result;
    for (qsizetype i = 0; i < pieces.size() && i < 2; ++i) {
        // The first character, kept whole when it is a surrogate pair.
        const QString &piece = pieces[i];
        result += piece.left(piece.front().isHighSurrogate() && piece.size() > 1 ? 2 : 1);
    }
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
