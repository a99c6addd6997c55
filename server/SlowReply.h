#pragma once

#include <nlohmann/json.hpp>

#include <chrono>
#include <functional>

namespace httplib {
struct Response;
}

// A JSON reply whose work may take minutes, such as transcribing a long meeting. The client
// gives up on a request that sends nothing for a minute, so once `patience` has passed the
// reply is committed as 200 and a space goes out every `heartbeat` until the JSON is ready
// (JSON allows leading whitespace). Work that ends sooner is answered with its own status.
class SlowReply
{
public:
    using Work = std::function<nlohmann::json()>;
    struct Timing
    {
        std::chrono::milliseconds patience{30'000};
        std::chrono::milliseconds heartbeat{10'000};
    };

    // Runs `work` on a thread of its own; a refusal it throws becomes the error reply. The work
    // finishes even when the client goes away, so nothing it was doing is lost.
    static void send(httplib::Response &response, Work work, Timing timing);
    static void send(httplib::Response &response, Work work)
    {
        send(response, std::move(work), {});
    }
};
