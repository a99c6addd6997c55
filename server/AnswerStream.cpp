#include "AnswerStream.h"

#include <httplib.h>
#include <nlohmann/json.hpp>

AnswerStream::AnswerStream(Work work, Finish finish)
    : m_worker([this, work = std::move(work), finish = std::move(finish)] { run(work, finish); })
{}

AnswerStream::~AnswerStream()
{
    abandon();
    m_worker.join();
}

void AnswerStream::push(const std::string &line, bool last)
{
    {
        std::lock_guard lock(m_lock);
        m_lines.push_back(line);
        m_started = true;
        m_finished = m_finished || last;
    }
    m_changed.notify_all();
}

void AnswerStream::run(const Work &work, const Finish &finish)
{
    const auto line = [](const nlohmann::json &event) { return event.dump() + "\n"; };
    try {
        const std::string answer = work([&](const std::string &delta) {
            {
                std::lock_guard lock(m_lock);
                if (m_gone)
                    return false;
            }
            push(line({{"delta", delta}}), false);
            return true;
        });
        finish(answer);
        push(line({{"answer", answer}}), true);
    } catch (const std::exception &error) {
        std::unique_lock lock(m_lock);
        if (!m_started) {
            m_earlyError = HttpError::from(error);
            m_finished = true;
            lock.unlock();
            m_changed.notify_all();
            return;
        }
        lock.unlock();
        push(line({{"error", error.what()}}), true);
    }
}

std::optional<HttpError> AnswerStream::waitForStart()
{
    std::unique_lock lock(m_lock);
    m_changed.wait(lock, [this] { return m_started || m_finished; });
    return m_earlyError;
}

bool AnswerStream::pump(httplib::DataSink &sink)
{
    std::unique_lock lock(m_lock);
    m_changed.wait(lock, [this] { return !m_lines.empty() || m_finished; });
    const std::vector<std::string> lines = std::exchange(m_lines, {});
    const bool finished = m_finished;
    lock.unlock();
    for (const std::string &line : lines) {
        if (!sink.write(line.data(), line.size())) {
            abandon();
            return false;
        }
    }
    if (finished)
        sink.done();
    return true;
}

void AnswerStream::abandon()
{
    std::lock_guard lock(m_lock);
    m_gone = true;
}
