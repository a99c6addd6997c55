#pragma once

#include <functional>
#include <string>
#include <vector>

// A language model that answers a conversation, token by token.
class ChatModel
{
public:
    struct Message
    {
        std::string role; // "system", "user" or "assistant"
        std::string content;
        std::string jpeg; // an image for a vision model; empty for none
    };
    // Receives each piece of the answer as it forms; returning false stops the answer early
    // (the client went away).
    using DeltaSink = std::function<bool(const std::string &)>;

    virtual ~ChatModel() = default;
    // Returns the whole answer. Throws HttpError naming the upstream on failure.
    virtual std::string complete(const std::vector<Message> &messages,
                                 const DeltaSink &onDelta) = 0;
    virtual std::string description() const = 0;
};
