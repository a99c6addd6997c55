#pragma once

#include <httplib.h>

#include <chrono>
#include <condition_variable>
#include <cstddef>
#include <deque>
#include <functional>
#include <mutex>

// The server's workers. httplib gives each connection a worker for as long as it lives, idle
// keep-alive time included, so a fixed pool lets a request wait behind connections that send
// nothing. This one starts a worker whenever none is free (up to `maxWorkers`) and lets a
// worker go after `idleLimit` without work, keeping `keptWorkers`.
class ElasticTaskQueue : public httplib::TaskQueue
{
public:
    ElasticTaskQueue(std::size_t keptWorkers, std::size_t maxWorkers,
                     std::chrono::milliseconds idleLimit = std::chrono::seconds(30));
    ~ElasticTaskQueue() override;

    void enqueue(std::function<void()> job) override;
    // Runs what is queued, then waits for every worker to end.
    void shutdown() override;

    std::size_t workers() const;

private:
    void work();

    const std::size_t m_kept;
    const std::size_t m_max;
    const std::chrono::milliseconds m_idleLimit;
    mutable std::mutex m_lock;
    std::condition_variable m_wake;
    std::condition_variable m_ended;
    std::deque<std::function<void()>> m_jobs;
    std::size_t m_workers = 0;
    std::size_t m_idle = 0;
    bool m_shuttingDown = false;
};
