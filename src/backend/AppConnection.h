#pragma once

#include <QJsonValue>
#include <QString>

// A linked external account; `slug` names the app in paths.
struct AppConnection
{
    QString slug;
    QString label;
    bool connected = false;

    static AppConnection fromJson(const QJsonValue &value);
    bool operator==(const AppConnection &) const = default;
};
