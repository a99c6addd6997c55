#pragma once

#include <nlohmann/json.hpp>

#include <string>

// Turns an uploaded recording into a meeting's title, transcript, speaker segments and
// notes. The speech engines plug in here.
class MeetingProcessor
{
public:
    struct Result
    {
        std::string title;
        std::string transcript;
        nlohmann::json segments = nlohmann::json::array(); // [{"speaker", "text"}]
        std::string notes;
    };

    virtual ~MeetingProcessor() = default;
    virtual Result process(const std::string &wavPath, long long durationSec,
                           const std::string &date) = 0;
};
