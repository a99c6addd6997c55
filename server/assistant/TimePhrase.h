#pragma once

#include "DeviceTime.h"
#include "Phrase.h"

#include <optional>

// Spoken times, read against the device's local time: "at 5 pm", "at 17:30", "in 10 minutes",
// "in half an hour", "tomorrow (morning) (at 9)", "on Monday", "on 20 November", "tonight",
// "by Friday", with numbers as digits or words ("at five thirty p m").
class TimePhrase
{
public:
    // What a day named without a time means: a reminder rings in the morning, a task is due
    // by the end of that day.
    enum class Purpose { Reminder, Task };
    static constexpr std::chrono::hours reminderHour{9};
    static constexpr std::chrono::minutes endOfDay{23 * 60 + 59};

    struct Result
    {
        DeviceTime::Local when;
        bool timeGiven;    // false when only a day was named
        std::size_t begin; // the words it spans
        std::size_t end;
    };

    // Words [from, to) read as exactly one time.
    static std::optional<Result> parse(const Phrase &phrase, std::size_t from, std::size_t to,
                                       const DeviceTime &now, Purpose purpose);
    // The longest time that ends at `to` and starts after `from`.
    static std::optional<Result> atEnd(const Phrase &phrase, std::size_t from, std::size_t to,
                                       const DeviceTime &now, Purpose purpose);
    // The longest time that starts at `from` and is followed by one of "to", "that", "about"
    // ("remind me tomorrow at 9 to …").
    static std::optional<Result> atStart(const Phrase &phrase, std::size_t from, std::size_t to,
                                         const DeviceTime &now, Purpose purpose);
    // 0 to 99 from digits or words ("twenty five"); consumes the words it read.
    static std::optional<int> number(const Phrase &phrase, std::size_t &at, std::size_t to);
};
