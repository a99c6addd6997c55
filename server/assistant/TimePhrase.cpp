#include "TimePhrase.h"

#include <cctype>

using namespace std::chrono;

namespace {

enum class Part { None, Morning, Afternoon, Evening, Night };

// What the words said, before it is pinned to a date.
struct Said
{
    std::optional<local_days> day;
    bool today = false; // the day was "today" or "tonight", so a past time moves to tomorrow
    std::optional<minutes> clock;
    bool meridiem = false; // AM or PM is known (or the time was 24-hour)
    Part part = Part::None;
    std::optional<milliseconds> delta;
};

bool isDigits(const std::string &text)
{
    if (text.empty() || text.size() > 4)
        return false;
    for (char c : text)
        if (!std::isdigit(static_cast<unsigned char>(c)))
            return false;
    return true;
}

class Reader
{
public:
    Reader(const Phrase &phrase, std::size_t from, std::size_t to, local_days today)
        : m_phrase(phrase), m_at(from), m_to(to), m_today(today)
    {}

    bool expression(Said &said)
    {
        if (!words({"due by"}) && !words({"due on"}))
            word("due") || word("by") || word("for") || word("before") || word("until");
        if (relative(said))
            return done();
        const std::size_t start = m_at;
        if (day(said)) {
            time(said) || part(said);
            return done();
        }
        m_at = start;
        said = Said{};
        if (time(said)) {
            day(said);
            return done();
        }
        return false;
    }

private:
    bool done() const { return m_at == m_to; }

    bool word(const char *text)
    {
        if (m_at < m_to && m_phrase[m_at] == text) {
            ++m_at;
            return true;
        }
        return false;
    }

    bool words(std::initializer_list<const char *> texts)
    {
        const std::size_t count = Phrase::countWords(texts);
        if (m_at + count > m_to || !m_phrase.hasAt(m_at, texts))
            return false;
        m_at += count;
        return true;
    }

    std::optional<milliseconds> unit()
    {
        if (word("second") || word("seconds") || word("sec") || word("secs"))
            return seconds{1};
        if (word("minute") || word("minutes") || word("min") || word("mins"))
            return minutes{1};
        if (word("hour") || word("hours") || word("h") || word("hr") || word("hrs"))
            return hours{1};
        if (word("day") || word("days"))
            return days{1};
        if (word("week") || word("weeks"))
            return weeks{1};
        return std::nullopt;
    }

    // "in 10 minutes", "in an hour and a half", "in 2 hours and 15 minutes", "in half an hour".
    bool relative(Said &said)
    {
        const std::size_t start = m_at;
        if (!word("in"))
            return false;
        milliseconds total{0};
        bool any = false;
        std::size_t beforeAnd = m_at;
        do {
            if (words({"half an hour"}) || words({"half a hour"})) {
                total += minutes{30};
                any = true;
                beforeAnd = m_at;
                continue;
            }
            const std::size_t mark = m_at;
            std::optional<int> amount;
            if (words({"a couple of"}))
                amount = 2;
            else if (words({"a few"}))
                amount = 3;
            else if (word("a") || word("an"))
                amount = 1;
            else
                amount = TimePhrase::number(m_phrase, m_at, m_to);
            const std::optional<milliseconds> size = amount ? unit() : std::nullopt;
            if (!size) {
                m_at = any ? beforeAnd : mark;
                break;
            }
            total += *amount * *size;
            if (words({"and a half"}))
                total += *size / 2;
            any = true;
            beforeAnd = m_at;
        } while (word("and"));
        if (!any) {
            m_at = start;
            return false;
        }
        said.delta = total;
        return true;
    }

    bool part(Said &said)
    {
        const std::size_t start = m_at;
        words({"in the"});
        const Part part = word("morning")     ? Part::Morning
                          : word("afternoon") ? Part::Afternoon
                          : word("evening")   ? Part::Evening
                          : word("night")     ? Part::Night
                                              : Part::None;
        if (part == Part::None) {
            m_at = start;
            return false;
        }
        said.part = part;
        return true;
    }

    std::optional<unsigned> dayOfMonth()
    {
        if (m_at >= m_to)
            return std::nullopt;
        std::string text = m_phrase[m_at];
        for (const char *suffix : {"st", "nd", "rd", "th"})
            if (text.size() > 2 && text.ends_with(suffix))
                text.resize(text.size() - 2);
        if (isDigits(text)) {
            ++m_at;
            const int value = std::stoi(text);
            return value >= 1 && value <= 31 ? std::optional<unsigned>(value) : std::nullopt;
        }
        const std::optional<int> value = TimePhrase::number(m_phrase, m_at, m_to);
        return value && *value >= 1 && *value <= 31 ? std::optional<unsigned>(*value)
                                                    : std::nullopt;
    }

    unsigned month()
    {
        const unsigned number = m_at < m_to ? DeviceTime::monthNumber(m_phrase[m_at]) : 0;
        if (number > 0)
            ++m_at;
        return number;
    }

    bool date(Said &said)
    {
        const std::size_t start = m_at;
        word("on");
        word("the");
        const std::size_t mark = m_at;
        std::optional<unsigned> dayNumber = dayOfMonth();
        word("of");
        unsigned monthNumber = dayNumber ? month() : 0;
        if (monthNumber == 0) {
            m_at = mark;
            monthNumber = month();
            word("the");
            dayNumber = monthNumber > 0 ? dayOfMonth() : std::nullopt;
        }
        if (monthNumber == 0 || !dayNumber) {
            m_at = start;
            return false;
        }
        const year thisYear = year_month_day{m_today}.year();
        year_month_day when{thisYear, std::chrono::month{monthNumber},
                            std::chrono::day{*dayNumber}};
        if (!when.ok()) {
            m_at = start;
            return false;
        }
        if (local_days{when} < m_today)
            when = year_month_day{thisYear + years{1}, when.month(), when.day()};
        said.day = local_days{when};
        return true;
    }

    bool day(Said &said)
    {
        const std::size_t start = m_at;
        if (word("today")) {
            said.day = m_today;
            said.today = true;
            return true;
        }
        if (word("tonight")) {
            said.day = m_today;
            said.today = true;
            said.part = Part::Night;
            return true;
        }
        if (words({"the day after tomorrow"}) || words({"day after tomorrow"})) {
            said.day = m_today + days{2};
            part(said);
            return true;
        }
        if (word("tomorrow")) {
            said.day = m_today + days{1};
            part(said);
            return true;
        }
        if (word("this") && part(said)) {
            said.day = m_today;
            said.today = true;
            return true;
        }
        m_at = start;
        word("on");
        words({"this coming"}) || word("next") || word("this") || word("coming");
        // Whole weekday names only: "sun" or "wed" are too often other words.
        const int weekdayNumber = m_at < m_to && m_phrase[m_at].size() >= 6
                                      ? DeviceTime::weekdayNumber(m_phrase[m_at])
                                      : -1;
        if (weekdayNumber >= 0) {
            ++m_at;
            // The coming one, never today: "on Monday" said on a Monday means next week.
            const unsigned todayNumber = weekday{m_today}.c_encoding();
            const int ahead = (weekdayNumber - int(todayNumber) + 6) % 7 + 1;
            said.day = m_today + days{ahead};
            part(said);
            return true;
        }
        m_at = start;
        return date(said);
    }

    // "5", "5 30", "5:30", "17:30", "five thirty", "five oh five", "noon", "midnight".
    bool time(Said &said)
    {
        const std::size_t start = m_at;
        const bool marked = word("at") || words({"by"});
        if (word("noon") || word("midday") || words({"12 noon"})) {
            said.clock = hours{12};
            said.meridiem = true;
            return true;
        }
        if (word("midnight")) {
            said.clock = minutes{0};
            said.meridiem = true;
            return true;
        }
        int hour = -1, minute = 0;
        bool twentyFour = false;
        const std::string text = m_at < m_to ? m_phrase[m_at] : std::string();
        const std::size_t colon = text.find(':');
        if (colon != std::string::npos && colon > 0 && colon <= 2 && text.size() == colon + 3 &&
            isDigits(text.substr(0, colon)) && isDigits(text.substr(colon + 1))) {
            hour = std::stoi(text.substr(0, colon));
            minute = std::stoi(text.substr(colon + 1));
            twentyFour = text[0] == '0' || hour > 12;
            ++m_at;
        } else if (std::optional<int> value = TimePhrase::number(m_phrase, m_at, m_to)) {
            hour = *value;
            const std::size_t mark = m_at;
            if (m_at < m_to && isDigits(m_phrase[m_at]) && m_phrase[m_at].size() == 2) {
                minute = std::stoi(m_phrase[m_at++]);
            } else if (word("oh") || word("o")) {
                const std::optional<int> single = TimePhrase::number(m_phrase, m_at, m_to);
                minute = single && *single < 10 ? *single : -1;
            } else if (m_at < m_to && !isDigits(m_phrase[m_at])) {
                const std::optional<int> words = TimePhrase::number(m_phrase, m_at, m_to);
                minute = words && *words >= 10 ? *words : -1;
            }
            if (minute < 0) {
                m_at = mark;
                minute = 0;
            }
            twentyFour = hour > 12;
        } else {
            m_at = start;
            return false;
        }
        std::optional<bool> pm;
        if (words({"am"}) || words({"a m"}) || words({"in the morning"}))
            pm = false;
        else if (words({"pm"}) || words({"p m"}) || words({"in the afternoon"}) ||
                 words({"in the evening"}) || words({"at night"}))
            pm = true;
        const bool oclock = word("o'clock") || word("oclock");
        const bool valid = minute < 60 && (pm ? hour >= 1 && hour <= 12 : hour <= 23);
        // A bare number is only a time after "at" or with a.m./p.m./o'clock or a colon.
        if (!valid || !(marked || pm || oclock || colon != std::string::npos)) {
            m_at = start;
            return false;
        }
        if (pm)
            hour = hour % 12 + (*pm ? 12 : 0);
        said.clock = hours{hour} + minutes{minute};
        said.meridiem = pm.has_value() || twentyFour || hour == 0;
        return true;
    }

    const Phrase &m_phrase;
    std::size_t m_at;
    std::size_t m_to;
    local_days m_today;
};

minutes partStart(Part part)
{
    switch (part) {
    case Part::Morning:
        return hours{9};
    case Part::Afternoon:
        return hours{15};
    case Part::Evening:
        return hours{19};
    case Part::Night:
        return hours{21};
    case Part::None:
        break;
    }
    return hours{9};
}

// The hour an ambiguous "at 5" means on a day other than today or with a part of the day.
minutes settleMeridiem(const Said &said)
{
    const minutes clock = *said.clock;
    const int hour = int(duration_cast<hours>(clock).count());
    const minutes pm = clock + hours{hour < 12 ? 12 : 0};
    const minutes am = clock - hours{hour == 12 ? 12 : 0};
    switch (said.part) {
    case Part::Morning:
        return am;
    case Part::Afternoon:
    case Part::Evening:
    case Part::Night:
        return pm;
    case Part::None:
        break;
    }
    // Another day: "at 9" is the morning, "at 3" the afternoon.
    return hour >= 7 && hour <= 12 ? clock : pm;
}

TimePhrase::Result resolve(const Said &said, const DeviceTime &now, TimePhrase::Purpose purpose)
{
    const DeviceTime::Local local = now.local();
    const local_days today = floor<days>(local);
    TimePhrase::Result result{local, true, 0, 0};
    if (said.delta) {
        result.when = local + *said.delta;
        return result;
    }
    const bool laterDay = said.day && !said.today;
    local_days day = said.day.value_or(today);
    if (said.clock) {
        minutes clock = *said.clock;
        if (!said.meridiem && (said.part != Part::None || laterDay)) {
            clock = settleMeridiem(said);
        } else if (!said.meridiem) {
            // "at 5" today is whichever of 5 AM and 5 PM comes first.
            const minutes am = clock % hours{12};
            const minutes pm = am + hours{12};
            clock = day + am > local || day + pm <= local ? am : pm;
        }
        result.when = day + clock;
    } else if (said.part != Part::None) {
        result.when = day + partStart(said.part);
    } else {
        result.timeGiven = false;
        result.when =
            day + (purpose == TimePhrase::Purpose::Task ? minutes{TimePhrase::endOfDay}
                                                        : minutes{TimePhrase::reminderHour});
        if (purpose == TimePhrase::Purpose::Reminder && said.today && result.when <= local) {
            result.when = local + hours{1}; // "remind me today" late in the day
            result.timeGiven = true;
            return result;
        }
    }
    if (!laterDay && result.when <= local)
        result.when += days{1};
    return result;
}

} // namespace

std::optional<TimePhrase::Result> TimePhrase::parse(const Phrase &phrase, std::size_t from,
                                                    std::size_t to, const DeviceTime &now,
                                                    Purpose purpose)
{
    if (from >= to || to > phrase.size())
        return std::nullopt;
    Said said;
    Reader reader(phrase, from, to, floor<days>(now.local()));
    if (!reader.expression(said))
        return std::nullopt;
    Result result = resolve(said, now, purpose);
    result.begin = from;
    result.end = to;
    return result;
}

std::optional<TimePhrase::Result> TimePhrase::atEnd(const Phrase &phrase, std::size_t from,
                                                    std::size_t to, const DeviceTime &now,
                                                    Purpose purpose)
{
    // Time phrases are short; twelve words cover "on the twenty first of november at five
    // thirty".
    const std::size_t longest = std::min<std::size_t>(to - std::min(from, to), 12);
    for (std::size_t length = longest; length > 0; --length)
        if (std::optional<Result> result = parse(phrase, to - length, to, now, purpose))
            return result;
    return std::nullopt;
}

std::optional<TimePhrase::Result> TimePhrase::atStart(const Phrase &phrase, std::size_t from,
                                                      std::size_t to, const DeviceTime &now,
                                                      Purpose purpose)
{
    const std::size_t longest = std::min<std::size_t>(to - std::min(from, to), 12);
    for (std::size_t length = longest; length > 0; --length) {
        const std::size_t end = from + length;
        if (end >= to || !(phrase[end] == "to" || phrase[end] == "that" || phrase[end] == "about"))
            continue;
        if (std::optional<Result> result = parse(phrase, from, end, now, purpose))
            return result;
    }
    return std::nullopt;
}

std::optional<int> TimePhrase::number(const Phrase &phrase, std::size_t &at, std::size_t to)
{
    if (at >= to)
        return std::nullopt;
    if (isDigits(phrase[at]))
        return std::stoi(phrase[at++]);
    static const char *const ones[] = {"zero",    "one",     "two",       "three",    "four",
                                       "five",    "six",     "seven",     "eight",    "nine",
                                       "ten",     "eleven",  "twelve",    "thirteen", "fourteen",
                                       "fifteen", "sixteen", "seventeen", "eighteen", "nineteen"};
    static const char *const tens[] = {"twenty", "thirty",  "forty",  "fifty",
                                       "sixty",  "seventy", "eighty", "ninety"};
    for (int i = 0; i < 20; ++i)
        if (phrase[at] == ones[i]) {
            ++at;
            return i;
        }
    for (int i = 0; i < 8; ++i)
        if (phrase[at] == tens[i]) {
            int value = (i + 2) * 10;
            ++at;
            for (int unit = 1; unit < 10 && at < to; ++unit)
                if (phrase[at] == ones[unit]) {
                    value += unit;
                    ++at;
                    break;
                }
            return value;
        }
    return std::nullopt;
}
