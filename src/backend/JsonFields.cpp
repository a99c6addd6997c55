#include "backend/JsonFields.h"

#include "backend/IsoDate.h"

#include <QJsonDocument>
#include <QJsonParseError>

#include <cmath>

QJsonObject JsonFields::parseObject(const QByteArray &json)
{
    QJsonParseError error;
    const QJsonDocument document = QJsonDocument::fromJson(json, &error);
    if (error.error != QJsonParseError::NoError)
        throw DecodingError::notJson(error.errorString());
    if (!document.isObject())
        throw DecodingError(QStringLiteral("The backend's reply is not a JSON object."));
    return document.object();
}

QJsonObject JsonFields::asObject(const QJsonValue &value, const QString &what)
{
    if (!value.isObject())
        throw DecodingError::wrongType(what, QStringLiteral("object"));
    return value.toObject();
}

QJsonValue JsonFields::present(const QJsonObject &object, const QString &key)
{
    const auto it = object.constFind(key);
    if (it == object.constEnd() || it->isNull())
        throw DecodingError::missingKey(key);
    return *it;
}

QString JsonFields::requiredString(const QJsonObject &object, const QString &key)
{
    const QJsonValue value = present(object, key);
    if (!value.isString())
        throw DecodingError::wrongType(key, QStringLiteral("string"));
    return value.toString();
}

std::optional<QString> JsonFields::optionalString(const QJsonObject &object, const QString &key)
{
    const QJsonValue value = object.value(key);
    if (value.isUndefined() || value.isNull())
        return std::nullopt;
    if (!value.isString())
        throw DecodingError::wrongType(key, QStringLiteral("string"));
    return value.toString();
}

bool JsonFields::requiredBool(const QJsonObject &object, const QString &key)
{
    const QJsonValue value = present(object, key);
    if (!value.isBool())
        throw DecodingError::wrongType(key, QStringLiteral("boolean"));
    return value.toBool();
}

qint64 JsonFields::requiredInteger(const QJsonObject &object, const QString &key)
{
    const QJsonValue value = present(object, key);
    const double number = value.toDouble();
    // 2^53: beyond it a double no longer holds every integer exactly.
    if (!value.isDouble() || std::trunc(number) != number || std::fabs(number) > 9007199254740992.0)
        throw DecodingError::wrongType(key, QStringLiteral("integer"));
    return static_cast<qint64>(number);
}

QDateTime JsonFields::requiredDate(const QJsonObject &object, const QString &key)
{
    const QString text = requiredString(object, key);
    const auto date = IsoDate::parse(text);
    if (!date)
        throw DecodingError::unrecognizedDate(text);
    return *date;
}

std::optional<QDateTime> JsonFields::optionalDate(const QJsonObject &object, const QString &key)
{
    const auto text = optionalString(object, key);
    if (!text)
        return std::nullopt;
    const auto date = IsoDate::parse(*text);
    if (!date)
        throw DecodingError::unrecognizedDate(*text);
    return date;
}

QStringList JsonFields::requiredStringArray(const QJsonObject &object, const QString &key)
{
    QStringList result;
    for (const QJsonValue &value : requiredArray(object, key)) {
        if (!value.isString())
            throw DecodingError::wrongType(key, QStringLiteral("array of strings"));
        result.append(value.toString());
    }
    return result;
}

QJsonArray JsonFields::requiredArray(const QJsonObject &object, const QString &key)
{
    const QJsonValue value = present(object, key);
    if (!value.isArray())
        throw DecodingError::wrongType(key, QStringLiteral("array"));
    return value.toArray();
}

std::optional<QJsonArray> JsonFields::optionalArray(const QJsonObject &object, const QString &key)
{
    const QJsonValue value = object.value(key);
    if (value.isUndefined() || value.isNull())
        return std::nullopt;
    if (!value.isArray())
        throw DecodingError::wrongType(key, QStringLiteral("array"));
    return value.toArray();
}
