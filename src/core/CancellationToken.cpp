#include "core/CancellationToken.h"

#include <utility>
#include <vector>

struct CancellationToken::State
{
    bool cancelled = false;
    std::vector<std::function<void()>> handlers;
};

CancellationToken::CancellationToken() : d(std::make_shared<State>()) {}

void CancellationToken::cancel()
{
    if (std::exchange(d->cancelled, true))
        return;
    auto handlers = std::move(d->handlers);
    d->handlers.clear();
    for (auto &handler : handlers)
        handler();
}

bool CancellationToken::isCancelled() const
{
    return d->cancelled;
}

void CancellationToken::onCancel(std::function<void()> handler)
{
    if (isCancelled())
        handler();
    else
        d->handlers.push_back(std::move(handler));
}
