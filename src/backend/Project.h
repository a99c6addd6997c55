#pragma once

#include <QJsonValue>
#include <QStringList>
#include <QVariantMap>

struct Project
{
    QString id;
    QString name;
    QStringList aliases;
    QString summary;

    static Project fromJson(const QJsonValue &value);
    // Every field under its own name, for list views.
    QVariantMap toVariant() const;
    bool operator==(const Project &) const = default;
};
