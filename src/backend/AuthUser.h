#pragma once

#include <QJsonObject>
#include <QJsonValue>
#include <QString>

// The signed-in user. Every key is a required string.
struct AuthUser
{
    QString id;
    QString email;
    QString name;
    QString picture;
    QString provider; // "google" marks a Google account

    // Up to two upper-case letters from the name, or from the email when the name is empty.
    QString initials() const;

    static AuthUser fromJson(const QJsonValue &value);
    QJsonObject toJson() const;
    bool operator==(const AuthUser &) const = default;
};
