#pragma once

#include <chrono>
#include <functional>
#include <optional>
#include <string>

// The device's wall-clock time as the client reports it ("Sunday, 15 November 2026, 6:23 PM
// (Europe/Berlin, +01:00)"). The zone name is only shown; the fixed offset converts between
// local and UTC, so a daylight-saving change between now and a later time is not applied.
class DeviceTime
{
public:
    using Clock = std::function<std::chrono::system_clock::time_point()>;
    using Utc = std::chrono::sys_time<std::chrono::milliseconds>;
    using Local = std::chrono::local_time<std::chrono::milliseconds>;

    DeviceTime(Utc utc, std::chrono::minutes offset, std::string zone, bool reported);

    // A "now" that can't be read falls back to the clock's time in UTC.
    static DeviceTime parse(const std::string &now,
                            const Clock &clock = std::chrono::system_clock::now);

    Utc utc() const { return m_utc; }
    Local local() const { return toLocal(m_utc); }
    std::chrono::minutes offset() const { return m_offset; }
    const std::string &zone() const { return m_zone; }
    // False when the client's "now" was missing or unreadable.
    bool reported() const { return m_reported; }

    Local toLocal(Utc utc) const;
    Utc toUtc(Local local) const;

    // "Sunday, 15 November 2026, 6:23 PM (Europe/Berlin, +01:00)", this class's input form.
    std::string describeNow() const;
    // "today", "tomorrow", "yesterday", "on Friday, 20 November" (with the year when it differs).
    std::string relativeDay(Local when) const;
    // relativeDay plus " at 6:23 PM".
    std::string relativeDayAndTime(Local when) const;

    // "2026-11-15T17:23:00.000Z", the database's date form.
    static std::string isoUtc(Utc time);
    // Reads isoUtc's form; the fraction is optional.
    static std::optional<Utc> parseIsoUtc(const std::string &text);
    static std::string clockTime(Local time);                   // "6:23 PM"
    static std::string longDate(Local time);                    // "Sunday, 15 November 2026"
    static std::string offsetText(std::chrono::minutes offset); // "+01:00", "-03:30"
    // 1 to 12 for "January"/"jan" … "December"/"dec" (any case), else 0.
    static unsigned monthNumber(const std::string &name);
    // 0 (Sunday) to 6 for "Sunday"/"sun" …, else -1.
    static int weekdayNumber(const std::string &name);

private:
    Utc m_utc;
    std::chrono::minutes m_offset;
    std::string m_zone;
    bool m_reported;
};
