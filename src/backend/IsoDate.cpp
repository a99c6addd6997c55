#include "backend/IsoDate.h"

namespace {

// Reads `count` ASCII digits at `pos`; -1 when any of them is not a digit.
int digits(QStringView text, qsizetype pos, int count)
{
    if (pos + count > text.size())
        return -1;
    int value = 0;
    for (int i = 0; i < count; ++i) {
        const QChar c = text[pos + i];
        if (c < QLatin1Char('0') || c > QLatin1Char('9'))
            return -1;
        value = value * 10 + (c.unicode() - '0');
    }
    return value;
}

bool at(QStringView text, qsizetype pos, char c)
{
    return pos < text.size() && text[pos] == QLatin1Char(c);
}

} // namespace

std::optional<QDateTime> IsoDate::parse(QStringView text)
{
    // yyyy-MM-ddTHH:mm:ss[.f+](Z|±hh:mm)
    const int year = digits(text, 0, 4), month = digits(text, 5, 2), day = digits(text, 8, 2);
    const int hour = digits(text, 11, 2), minute = digits(text, 14, 2),
              second = digits(text, 17, 2);
    if (year < 0 || month < 0 || day < 0 || hour < 0 || minute < 0 || second < 0 ||
        !at(text, 4, '-') || !at(text, 7, '-') || !at(text, 10, 'T') || !at(text, 13, ':') ||
        !at(text, 16, ':'))
        return std::nullopt;

    qsizetype pos = 19;
    int millis = 0;
    if (at(text, pos, '.')) {
        ++pos;
        int count = 0;
        while (pos < text.size() && text[pos].isDigit() && text[pos].unicode() < 128) {
            if (count < 3)
                millis = millis * 10 + (text[pos].unicode() - '0');
            ++count;
            ++pos;
        }
        if (count == 0)
            return std::nullopt;
        for (int i = count; i < 3; ++i)
            millis *= 10;
    }

    int offsetSeconds = 0;
    if (at(text, pos, 'Z')) {
        ++pos;
    } else if (at(text, pos, '+') || at(text, pos, '-')) {
        const int sign = at(text, pos, '-') ? -1 : 1;
        const int hh = digits(text, pos + 1, 2), mm = digits(text, pos + 4, 2);
        if (hh < 0 || mm < 0 || !at(text, pos + 3, ':') || hh > 23 || mm > 59)
            return std::nullopt;
        offsetSeconds = sign * (hh * 3600 + mm * 60);
        pos += 6;
    } else {
        return std::nullopt;
    }
    if (pos != text.size())
        return std::nullopt;

    const QDate date(year, month, day);
    const QTime time(hour, minute, second, millis);
    if (!date.isValid() || !time.isValid())
        return std::nullopt;
    return QDateTime(date, time, Qt::OffsetFromUTC, offsetSeconds).toUTC();
}

QString IsoDate::format(const QDateTime &date)
{
    return date.toUTC().toString(QStringLiteral("yyyy-MM-ddTHH:mm:ss.zzzZ"));
}
