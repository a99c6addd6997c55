#pragma once

#include <QDateTime>
#include <QJsonValue>
#include <QStringList>

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
    bool operator==(const MemoryItem &) const = default;
};
