#include "SlowReply.h"

#include "HttpError.h"

#include <httplib.h>

#include <condition_variable>
#include <memory>
#include <mutex>
#include <thread>

namespace {

struct Outcome
{
    std::mutex lock;
    std::condition_variable finished;
    bool done = false;
    int status = 200;
    std::string body;
    std::thread worker;

    ~Outcome()
    {
        if (worker.joinable())
            worker.join();
    }
};

} // namespace

void SlowReply::send(httplib::Response &response, Work work, Timing timing)
{
    auto outcome = std::make_shared<Outcome>();
    outcome->worker = std::thread([state = outcome.get(), work = std::move(work)] {
        int status = 200;
        std::string body;
        try {
            body = work().dump();
        } catch (const std::exception &error) {
            const HttpError failure = HttpError::from(error);
            status = failure.status();
            body = nlohmann::json{{"error", failure.what()}}.dump();
        }
        {
            std::lock_guard guard(state->lock);
            state->status = status;
            state->body = std::move(body);
            state->done = true;
        }
        state->finished.notify_all();
    });

    {
        std::unique_lock guard(outcome->lock);
        if (outcome->finished.wait_for(guard, timing.patience, [&] { return outcome->done; })) {
            response.status = outcome->status;
            response.set_content(outcome->body, "application/json");
            return;
        }
    }
    response.set_chunked_content_provider(
        "application/json", [outcome, timing](std::size_t, httplib::DataSink &sink) {
            std::unique_lock guard(outcome->lock);
            if (!outcome->finished.wait_for(guard, timing.heartbeat,
                                            [&] { return outcome->done; })) {
                guard.unlock();
                return sink.write(" ", 1);
            }
            // The status is already sent; an error now can only travel in the body.
            const std::string body = outcome->body;
            guard.unlock();
            if (!sink.write(body.data(), body.size()))
                return false;
            sink.done();
            return true;
        });
}
