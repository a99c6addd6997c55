#pragma once

#include <QDateTime>
#include <QJsonValue>
#include <QStringList>
#include <QVariantMap>

// A remembered fact, grouped by project ids.
struct MemoryItem
{
    QString id;
    QString text;
    QString category;
    QString tier;
    QStringList projects;
    QString source;
    QDateTime date;

    static MemoryItem fromJson(const QJsonValue &value);
    // Every field under its own name, for list views.
    QVariantMap toVariant() const;
    bool operator==(const MemoryItem &) const = default;
};
