#pragma once

#include "platform/ClipboardWatcher.h"

#include <QByteArray>

#include <functional>

struct _XDisplay;
union _XEvent;
class QDeadlineTimer;

// CLIPBOARD owner changes, from XFixes selection notifications on a connection of its own;
// the text is asked for on the same connection, stamped with the owner's own claim time.
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
    std::optional<QString> text(int milliseconds) override;
    std::optional<ClipboardContents> contents(int milliseconds, qsizetype maxBytes) override;

private:
    using EventHandler = std::function<void(const _XEvent &)>;
    // Reads what has arrived: counts owner changes and hands every other event to `other`.
    void drain(const EventHandler &other = {});
    // Runs this connection (not the application's event loop) until `done` or the deadline.
    bool waitUntil(const std::function<bool()> &done, const QDeadlineTimer &deadline,
                   const EventHandler &other = {});
    std::optional<QByteArray> convert(unsigned long target, const QDeadlineTimer &deadline);
    std::optional<QByteArray> readProperty(bool &incremental);
    QString atomName(unsigned long atom);

    _XDisplay *m_display = nullptr;
    int m_eventBase = 0;
    unsigned long m_clipboard = 0;
    unsigned long m_requestor = 0; // our window, where the owner puts the text
    unsigned long m_property = 0;
    unsigned long m_claimTime = 0; // the current owner's claim; 0 (CurrentTime) when unknown
    int m_lastFormat = 0;          // of the last property read: 8 for bytes, 32 for atoms
    std::uint64_t m_count = 0;
};
