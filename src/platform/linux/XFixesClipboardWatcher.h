#pragma once

#include "platform/ClipboardWatcher.h"

struct _XDisplay;

// CLIPBOARD owner changes, from XFixes selection notifications on a connection of its own.
class XFixesClipboardWatcher : public ClipboardWatcher
{
public:
    XFixesClipboardWatcher();
    ~XFixesClipboardWatcher() override;
    XFixesClipboardWatcher(const XFixesClipboardWatcher &) = delete;
    XFixesClipboardWatcher &operator=(const XFixesClipboardWatcher &) = delete;

    bool isAvailable() const { return m_display != nullptr; }
    std::uint64_t changeCount() override;
    bool waitForChange(std::uint64_t since, int milliseconds) override;

private:
    void drain();

    _XDisplay *m_display = nullptr;
    int m_eventBase = 0;
    std::uint64_t m_count = 0;
};
