#pragma once

#include "VocabularyTerm.h"

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
    // `vocabulary` is the user's dictionary, for the recogniser and the transcript's spelling.
    virtual Result process(const std::string &wavPath, long long durationSec,
                           const std::string &date,
                           const std::vector<VocabularyTerm> &vocabulary) = 0;
};
