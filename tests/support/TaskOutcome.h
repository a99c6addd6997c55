#pragma once

#include "core/DescribedError.h"

#include <QCoro/QCoroTask>
#include <QEventLoop>
#include <QTimer>

#include <exception>
#include <memory>
#include <optional>
#include <type_traits>
#include <variant>

// How a coroutine ended: its value or its exception, or neither when it had not finished
// within the time allowed. QCoro::waitFor() would wait forever on a task that throws.
template <class T> struct TaskOutcome
{
    using Value = std::conditional_t<std::is_void_v<T>, std::monostate, T>;

    bool finished = false;
    std::optional<Value> value;
    std::exception_ptr error;

    // The exception as E, when the task threw one.
    template <class E> std::optional<E> errorAs() const
    {
        try {
            if (error)
                std::rethrow_exception(error);
        } catch (const E &e) {
            return e;
        } catch (...) {
        }
        return std::nullopt;
    }
    QString errorDescription() const { return error ? DescribedError::describe(error) : QString(); }

    // Runs the event loop until `task` ends or `timeoutMs` passes.
    static TaskOutcome settle(QCoro::Task<T> task, int timeoutMs = 10000)
    {
        // Shared, so a task that outlives the time-out finds neither a dangling loop nor
        // a dangling outcome.
        struct State
        {
            TaskOutcome outcome;
            QEventLoop *loop = nullptr;
        };
        auto watch = [](QCoro::Task<T> task, std::shared_ptr<State> state) -> QCoro::Task<void> {
            try {
                if constexpr (std::is_void_v<T>) {
                    co_await std::move(task);
                    state->outcome.value.emplace();
                } else {
                    state->outcome.value.emplace(co_await std::move(task));
                }
            } catch (...) {
                state->outcome.error = std::current_exception();
            }
            state->outcome.finished = true;
            if (state->loop)
                state->loop->quit();
        };
        auto state = std::make_shared<State>();
        QEventLoop loop;
        state->loop = &loop;
        watch(std::move(task), state);
        if (!state->outcome.finished) {
            QTimer::singleShot(timeoutMs, &loop, &QEventLoop::quit);
            loop.exec();
        }
        state->loop = nullptr;
        return state->outcome;
    }
};
