#pragma once

#include <QDateTime>
#include <QJsonValue>
#include <QString>
#include <QVariantMap>

#include <optional>

// A task the assistant keeps. `details` travels under the key "description".
struct AssistantTask
{
    QString id;
    QString title;
    std::optional<QString> project; // a project id
    bool done = false;
    std::optional<QDateTime> dueAt;
    QDateTime date; // created
    std::optional<QDateTime> completedAt;
    QString details;

    static AssistantTask fromJson(const QJsonValue &value);
    // Every field under its own name, for list views; absent values are invalid.
    QVariantMap toVariant() const;
    bool operator==(const AssistantTask &) const = default;
};
