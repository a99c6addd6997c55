#pragma once

#include <functional>
#include <memory>

// Shared cancellation flag of one asynchronous task. Copies share the same state.
// The owner cancels; the task checks isCancelled() after every suspension point and
// registers onCancel handlers to abort work in flight (such as a network reply).
// Like all state, it lives on the main thread.
class CancellationToken
{
public:
    CancellationToken();

    void cancel();
    bool isCancelled() const;
    // Runs `handler` once when the token is cancelled, or at once if it already is.
    void onCancel(std::function<void()> handler);

private:
    struct State;
    std::shared_ptr<State> d;
};
