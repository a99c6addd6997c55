#pragma once

#include "backend/DecodingError.h"

#include <QDateTime>
#include <QJsonArray>
#include <QJsonObject>
#include <QList>
#include <QString>
#include <QStringList>

#include <optional>

// Strict readers of record fields. "Required" fails on a missing key, a null or a
// value of another type; "optional" accepts a missing key or null and still fails on
// another type. Every failure is a DecodingError.
class JsonFields
{
public:
    static QJsonObject parseObject(const QByteArray &json);
    static QJsonObject asObject(const QJsonValue &value, const QString &what);

    static QString requiredString(const QJsonObject &object, const QString &key);
    static std::optional<QString> optionalString(const QJsonObject &object, const QString &key);
    static bool requiredBool(const QJsonObject &object, const QString &key);
    static qint64 requiredInteger(const QJsonObject &object, const QString &key);
    static QDateTime requiredDate(const QJsonObject &object, const QString &key);
    static std::optional<QDateTime> optionalDate(const QJsonObject &object, const QString &key);
    static QStringList requiredStringArray(const QJsonObject &object, const QString &key);
    static QJsonArray requiredArray(const QJsonObject &object, const QString &key);
    static std::optional<QJsonArray> optionalArray(const QJsonObject &object, const QString &key);

    // Each element decoded with T::fromJson; one bad element fails the whole array.
    template <class T> static QList<T> records(const QJsonArray &array)
    {
        QList<T> result;
        result.reserve(array.size());
        for (const QJsonValue &value : array)
            result.append(T::fromJson(value));
        return result;
    }

private:
    static QJsonValue present(const QJsonObject &object, const QString &key);
};
