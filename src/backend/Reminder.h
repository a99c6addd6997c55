#pragma once

#include <QDateTime>
#include <QJsonValue>
#include <QString>
#include <QVariantMap>

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
    // Every field under its own name, for list views.
    QVariantMap toVariant() const;
    bool operator==(const Reminder &) const = default;
};
