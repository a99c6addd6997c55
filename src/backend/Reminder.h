#pragma once

#include <QDateTime>
#include <QJsonValue>
#include <QString>

// A reminder. `details` travels under the key "description".
struct Reminder
{
    QString id;
    QString title;
    QDateTime dueAt;
    bool fired = false;
    QDateTime date;
    QString details;

    static Reminder fromJson(const QJsonValue &value);
    bool operator==(const Reminder &) const = default;
};
