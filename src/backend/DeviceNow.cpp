#include "backend/DeviceNow.h"

#include <QLocale>

#include <cstdlib>

QString DeviceNow::format(const QDateTime &instant, const QTimeZone &zone)
{
    // The C locale gives English day and month names and "AM"/"PM" whatever the
    // user's locale, which is what the backend parses.
    const QDateTime local = instant.toTimeZone(zone);
    const QString date = QLocale::c().toString(local, QStringLiteral("dddd, d MMMM yyyy, h:mm AP"));
    const int offset = zone.offsetFromUtc(instant);
    const int magnitude = std::abs(offset);
    return QStringLiteral("%1 (%2, %3%4:%5)")
        .arg(date, QString::fromUtf8(zone.id()),
             offset >= 0 ? QStringLiteral("+") : QStringLiteral("-"))
        .arg(magnitude / 3600, 2, 10, QLatin1Char('0'))
        .arg((magnitude % 3600) / 60, 2, 10, QLatin1Char('0'));
}
