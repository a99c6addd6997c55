#include "DeviceTime.h"

#include <cctype>
#include <cstdio>
#include <cstdlib>
#include <regex>

using namespace std::chrono;

namespace {

const char *const monthNames[] = {"January",   "February", "March",    "April",
                                  "May",       "June",     "July",     "August",
                                  "September", "October",  "November", "December"};
const char *const weekdayNames[] = {"Sunday",   "Monday", "Tuesday", "Wednesday",
                                    "Thursday", "Friday", "Saturday"};

std::string lowered(std::string text)
{
    for (char &c : text)
        if (c >= 'A' && c <= 'Z')
            c = char(c - 'A' + 'a');
    return text;
}

// A full name or any prefix of at least three letters of it ("nov", "thurs").
int indexOfName(const std::string &name, const char *const *names, int count)
{
    const std::string wanted = lowered(name);
    if (wanted.size() < 3)
        return -1;
    for (int i = 0; i < count; ++i) {
        const std::string full = lowered(names[i]);
        if (full.compare(0, wanted.size(), wanted) == 0)
            return i;
    }
    return -1;
}

struct WallClock
{
    local_days day;
    minutes time;
};

std::optional<WallClock> readWallClock(const std::smatch &m)
{
    const unsigned month = DeviceTime::monthNumber(m[2]);
    const year_month_day date{year{std::stoi(m[3])}, std::chrono::month{month},
                              day{unsigned(std::stoi(m[1]))}};
    if (month == 0 || !date.ok())
        return std::nullopt;
    int hour = std::stoi(m[4]);
    const int minute = std::stoi(m[5]);
    if (minute > 59)
        return std::nullopt;
    if (m[6].matched) {
        if (hour < 1 || hour > 12)
            return std::nullopt;
        const bool pm = std::tolower(static_cast<unsigned char>(m[6].str()[0])) == 'p';
        hour = hour % 12 + (pm ? 12 : 0);
    } else if (hour > 23) {
        return std::nullopt;
    }
    return WallClock{local_days{date}, hours{hour} + minutes{minute}};
}

} // namespace

DeviceTime::DeviceTime(Utc utc, minutes offset, std::string zone, bool reported)
    : m_utc(utc), m_offset(offset), m_zone(std::move(zone)), m_reported(reported)
{}

DeviceTime DeviceTime::parse(const std::string &now, const Clock &clock)
{
    const Utc clockNow = time_point_cast<milliseconds>(clock());
    const DeviceTime fallback(clockNow, minutes{0}, "UTC", false);
    if (now.size() > 200)
        return fallback;
    // "Sunday, 15 November 2026, 6:23 PM (Europe/Berlin, +01:00)"; the weekday is implied
    // by the date, and the parenthesis or its offset may be missing.
    static const std::regex form(
        R"(^\s*(?:[A-Za-z]+\.?,?\s+)?(\d{1,2})\s+([A-Za-z]+)\.?,?\s+(\d{4}),?\s+(\d{1,2}):(\d{2}))"
        R"(\s*([AaPp]\.?[Mm]\.?)?\s*(?:\(\s*([^,()]*?)\s*(?:,\s*(?:GMT|UTC)?([+-])(\d{1,2}):?(\d{2}))?\s*\))?\s*$)");
    std::smatch m;
    if (!std::regex_match(now, m, form))
        return fallback;
    const std::optional<WallClock> wall = readWallClock(m);
    if (!wall)
        return fallback;
    const Local local{wall->day + wall->time};

    minutes offset{0};
    if (m[8].matched) {
        const int hoursPart = std::stoi(m[9]);
        const int minutesPart = std::stoi(m[10]);
        if (hoursPart > 14 || minutesPart > 59)
            return fallback;
        offset = minutes{(m[8] == "-" ? -1 : 1) * (hoursPart * 60 + minutesPart)};
    } else {
        // No offset: the device's wall clock against ours gives it, to the quarter hour.
        const auto difference = local.time_since_epoch() - clockNow.time_since_epoch();
        offset = round<minutes>(difference / 15) * 15;
        if (abs(offset) > hours{14})
            return fallback;
    }
    Utc utc{local.time_since_epoch() - offset};
    // "now" carries whole minutes; when our clock falls inside that minute, its seconds are
    // the better reading.
    if (clockNow >= utc && clockNow < utc + minutes{1})
        utc = clockNow;
    const std::string zone =
        m[7].matched && m[7].length() > 0 ? m[7].str() : "UTC" + offsetText(offset);
    return DeviceTime(utc, offset, zone, true);
}

DeviceTime::Local DeviceTime::toLocal(Utc utc) const
{
    return Local{utc.time_since_epoch() + m_offset};
}

DeviceTime::Utc DeviceTime::toUtc(Local local) const
{
    return Utc{local.time_since_epoch() - m_offset};
}

std::string DeviceTime::describeNow() const
{
    return longDate(local()) + ", " + clockTime(local()) + " (" + m_zone + ", " +
           offsetText(m_offset) + ")";
}

std::string DeviceTime::relativeDay(Local when) const
{
    const local_days today = floor<days>(local());
    const local_days day = floor<days>(when);
    if (day == today)
        return "today";
    if (day == today + days{1})
        return "tomorrow";
    if (day == today - days{1})
        return "yesterday";
    const year_month_day date{day};
    std::string text = "on " + std::string(weekdayNames[weekday{day}.c_encoding()]) + ", " +
                       std::to_string(unsigned(date.day())) + " " +
                       monthNames[unsigned(date.month()) - 1];
    if (date.year() != year_month_day{today}.year())
        text += " " + std::to_string(int(date.year()));
    return text;
}

std::string DeviceTime::relativeDayAndTime(Local when) const
{
    return relativeDay(when) + " at " + clockTime(when);
}

std::string DeviceTime::isoUtc(Utc time)
{
    const sys_days day = floor<days>(time);
    const year_month_day date{day};
    const hh_mm_ss clock{time - day};
    char text[40];
    std::snprintf(text, sizeof text, "%04d-%02u-%02uT%02d:%02d:%02d.%03dZ", int(date.year()),
                  unsigned(date.month()), unsigned(date.day()), int(clock.hours().count()),
                  int(clock.minutes().count()), int(clock.seconds().count()),
                  int(clock.subseconds().count()));
    return text;
}

std::optional<DeviceTime::Utc> DeviceTime::parseIsoUtc(const std::string &text)
{
    static const std::regex form(
        R"(^(\d{4})-(\d{2})-(\d{2})T(\d{2}):(\d{2}):(\d{2})(?:\.(\d{1,3})\d*)?Z$)");
    std::smatch m;
    if (text.size() > 40 || !std::regex_match(text, m, form))
        return std::nullopt;
    const year_month_day date{year{std::stoi(m[1])}, month{unsigned(std::stoi(m[2]))},
                              day{unsigned(std::stoi(m[3]))}};
    const int h = std::stoi(m[4]), min = std::stoi(m[5]), s = std::stoi(m[6]);
    if (!date.ok() || h > 23 || min > 59 || s > 60)
        return std::nullopt;
    int millis = 0;
    if (m[7].matched) {
        std::string fraction = m[7].str();
        fraction.resize(3, '0');
        millis = std::stoi(fraction);
    }
    return Utc{sys_days{date} + hours{h} + minutes{min} + seconds{s} + milliseconds{millis}};
}

std::string DeviceTime::clockTime(Local time)
{
    const hh_mm_ss clock{time - floor<days>(time)};
    const int hour = int(clock.hours().count());
    char text[16];
    std::snprintf(text, sizeof text, "%d:%02d %s", hour % 12 == 0 ? 12 : hour % 12,
                  int(clock.minutes().count()), hour < 12 ? "AM" : "PM");
    return text;
}

std::string DeviceTime::longDate(Local time)
{
    const local_days day = floor<days>(time);
    const year_month_day date{day};
    return std::string(weekdayNames[weekday{day}.c_encoding()]) + ", " +
           std::to_string(unsigned(date.day())) + " " + monthNames[unsigned(date.month()) - 1] +
           " " + std::to_string(int(date.year()));
}

std::string DeviceTime::offsetText(minutes offset)
{
    const int total = int(offset.count());
    char text[16];
    std::snprintf(text, sizeof text, "%c%02d:%02d", total < 0 ? '-' : '+', std::abs(total) / 60,
                  std::abs(total) % 60);
    return text;
}

unsigned DeviceTime::monthNumber(const std::string &name)
{
    return unsigned(indexOfName(name, monthNames, 12) + 1);
}

int DeviceTime::weekdayNumber(const std::string &name)
{
    return indexOfName(name, weekdayNames, 7);
}
