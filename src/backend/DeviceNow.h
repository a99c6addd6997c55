#pragma once

#include <QDateTime>
#include <QString>
#include <QTimeZone>

// The local date and time as the backend reads it from "now", for example
// "Sunday, 15 November 2026, 6:23 PM (Europe/Berlin, +01:00)".
class DeviceNow
{
public:
    static QString format(const QDateTime &instant, const QTimeZone &zone);
};
