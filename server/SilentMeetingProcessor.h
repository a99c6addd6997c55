#pragma once

#include "MeetingProcessor.h"

// Used until a speech engine is available: the meeting is kept, with a plain title.
class SilentMeetingProcessor : public MeetingProcessor
{
public:
    Result process(const std::string &, long long, const std::string &date) override
    {
        return {"Meeting on " + date.substr(0, 10), "", nlohmann::json::array(),
                "No speech engine ran on this recording, so there are no notes yet."};
    }
};
