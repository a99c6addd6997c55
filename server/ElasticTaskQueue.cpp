#include "ElasticTaskQueue.h"

#include <thread>

ElasticTaskQueue::ElasticTaskQueue(std::size_t keptWorkers, std::size_t maxWorkers,
                                   std::chrono::milliseconds idleLimit)
    : m_kept(keptWorkers), m_max(std::max(maxWorkers, std::size_t(1))), m_idleLimit(idleLimit)
{}

ElasticTaskQueue::~ElasticTaskQueue()
{
    shutdown();
}

void ElasticTaskQueue::enqueue(std::function<void()> job)
{
    std::unique_lock lock(m_lock);
    if (m_shuttingDown)
        return;
    m_jobs.push_back(std::move(job));
    // Every idle worker may already be woken for a job queued before this one.
    if (m_idle < m_jobs.size() && m_workers < m_max) {
        ++m_workers;
        // Detached: a worker that leaves when idle has no one to join it; shutdown() waits
        // for the count instead.
        std::thread([this] { work(); }).detach();
        return;
    }
    lock.unlock();
    m_wake.notify_one();
}

void ElasticTaskQueue::shutdown()
{
    std::unique_lock lock(m_lock);
    m_shuttingDown = true;
    m_wake.notify_all();
    m_ended.wait(lock, [this] { return m_workers == 0; });
}

std::size_t ElasticTaskQueue::workers() const
{
    std::lock_guard lock(m_lock);
    return m_workers;
}

void ElasticTaskQueue::work()
{
    std::unique_lock lock(m_lock);
    for (;;) {
        if (m_jobs.empty()) {
            if (m_shuttingDown)
                break;
            ++m_idle;
            const bool woken = m_wake.wait_for(
                lock, m_idleLimit, [this] { return !m_jobs.empty() || m_shuttingDown; });
            --m_idle;
            if (!woken && m_workers > m_kept)
                break;
            continue;
        }
        std::function<void()> job = std::move(m_jobs.front());
        m_jobs.pop_front();
        lock.unlock();
        job();
        job = nullptr; // whatever it holds goes before the lock is taken again
        lock.lock();
    }
    --m_workers;
    m_ended.notify_all();
}
