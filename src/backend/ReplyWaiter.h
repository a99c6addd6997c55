#pragma once

#include <QObject>

#include <coroutine>

class QNetworkReply;

// Lets a coroutine sleep until a reply makes any progress: headers, data or the end.
// A reply often reports headers, data and its end in one go; they wake the coroutine
// once, from the event loop, never from inside the reply's own signal.
class ReplyWaiter : public QObject
{
    Q_OBJECT
public:
    explicit ReplyWaiter(QNetworkReply *reply);

    struct Awaiter
    {
        ReplyWaiter *waiter;
        bool await_ready() const noexcept { return false; }
        void await_suspend(std::coroutine_handle<> handle) noexcept { waiter->m_waiting = handle; }
        void await_resume() const noexcept {}
    };
    // co_await it while the reply is not finished.
    Awaiter next() { return Awaiter{this}; }
    // co_await it to let the event loop run once, e.g. between slices of a long read.
    Awaiter afterEvents()
    {
        progressed();
        return Awaiter{this};
    }

private:
    void progressed();

    std::coroutine_handle<> m_waiting;
    bool m_wakeQueued = false;
};
