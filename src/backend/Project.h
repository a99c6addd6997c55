#pragma once

#include <QJsonValue>
#include <QStringList>

struct Project
{
    QString id;
    QString name;
    QStringList aliases;
    QString summary;

    static Project fromJson(const QJsonValue &value);
    bool operator==(const Project &) const = default;
};
