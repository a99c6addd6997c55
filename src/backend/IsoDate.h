#pragma once

#include <QDateTime>
#include <QString>

#include <optional>

// The two date forms of the protocol: internet date-time with or without fractional
// seconds, always with a zone ("Z" or "+hh:mm"). Nothing else is accepted.
class IsoDate
{
public:
    static std::optional<QDateTime> parse(QStringView text);
    // UTC with milliseconds, for example 2026-11-15T18:23:44.123Z.
    static QString format(const QDateTime &date);
};
