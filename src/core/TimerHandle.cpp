#include "core/TimerHandle.h"

TimerHandle::TimerHandle(std::shared_ptr<TimerEntry> entry) : m_entry(std::move(entry)) {}

TimerHandle::~TimerHandle()
{
    cancel();
}

TimerHandle::TimerHandle(TimerHandle &&other) noexcept : m_entry(std::move(other.m_entry)) {}

TimerHandle &TimerHandle::operator=(TimerHandle &&other) noexcept
{
    if (this != &other) {
        cancel();
        m_entry = std::move(other.m_entry);
    }
    return *this;
}

void TimerHandle::cancel()
{
    if (m_entry) {
        m_entry->cancel();
        m_entry.reset();
    }
}

bool TimerHandle::isActive() const
{
    return m_entry && m_entry->isActive();
}
