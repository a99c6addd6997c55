#include "ui/Formats.h"

#include <QLocale>

#include <cmath>

namespace {

QString format(const QDateTime &date, const QString &pattern)
{
    if (!date.isValid())
        return {};
    return QLocale::c().toString(date.toLocalTime(), pattern);
}

} // namespace

QString Formats::dueDate(const QDateTime &date)
{
    return format(date, QStringLiteral("MMM d, yyyy 'at' HH:mm"));
}

QString Formats::day(const QDateTime &date)
{
    return format(date, QStringLiteral("MMM d, yyyy"));
}

QString Formats::duration(double seconds)
{
    const qint64 total = std::isfinite(seconds) && seconds > 0 ? qint64(seconds) : 0;
    const qint64 hours = total / 3600;
    const qint64 minutes = total / 60 % 60;
    const QString secs = QStringLiteral("%1").arg(total % 60, 2, 10, QLatin1Char('0'));
    if (hours > 0)
        return QStringLiteral("%1:%2:%3")
            .arg(hours)
            .arg(minutes, 2, 10, QLatin1Char('0'))
            .arg(secs);
    return QStringLiteral("%1:%2").arg(minutes).arg(secs);
}
