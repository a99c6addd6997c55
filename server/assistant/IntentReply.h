#pragma once

#include <string>

// What an offline command answers, and the action for the client to take with it.
struct IntentReply
{
    std::string answer;
    std::string actionType; // "open_app", or empty when there is no action
    std::string actionName;
};
