#pragma once

#include "ChatModel.h"
#include "HttpError.h"

#include <condition_variable>
#include <functional>
#include <mutex>
#include <optional>
#include <string>
#include <thread>
#include <vector>

namespace httplib {
class DataSink;
}

// A model's answer formed on a worker thread and handed to the HTTP stream line by line.
// Until the first piece arrives nothing is sent, so a model that fails outright still gets a
// proper error status instead of a failure inside a successful response.
class AnswerStream
{
public:
    // Produces the whole answer, passing each piece to the sink as it forms.
    using Work = std::function<std::string(const ChatModel::DeltaSink &)>;
    // Runs with the whole answer before its final line is sent.
    using Finish = std::function<void(const std::string &)>;

    AnswerStream(Work work, Finish finish);
    // Tells the work the client is gone and waits for it to stop.
    ~AnswerStream();
    AnswerStream(const AnswerStream &) = delete;
    AnswerStream &operator=(const AnswerStream &) = delete;

    // Blocks until the first piece or the end; the error when the work failed before any piece.
    std::optional<HttpError> waitForStart();
    // Blocks until there is something to send and sends it; false when the client is gone.
    bool pump(httplib::DataSink &sink);
    void abandon();

private:
    void run(const Work &work, const Finish &finish);
    void push(const std::string &line, bool last);

    std::mutex m_lock;
    std::condition_variable m_changed;
    std::vector<std::string> m_lines;
    bool m_started = false;
    bool m_finished = false;
    bool m_gone = false;
    std::optional<HttpError> m_earlyError;
    std::thread m_worker;
};
