#pragma once

#include <QDateTime>
#include <QJsonValue>
#include <QString>

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
    bool operator==(const AssistantTask &) const = default;
};
