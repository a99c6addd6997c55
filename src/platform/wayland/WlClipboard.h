#pragma once

#include "platform/ClipboardWatcher.h"
#include "platform/ClipboardWriter.h"

#include <QString>

#include <memory>

class QProcess;

// The Wayland clipboard through wl-clipboard's tools, which use the compositor's
// data-control protocol: they read and set the clipboard without a focused window of ours,
// where Qt's clipboard under XWayland reaches native clients only while we have focus.
class WlClipboard : public ClipboardWatcher, public ClipboardWriter
{
public:
    // `toolFolder`: where wl-copy and wl-paste are; empty for PATH.
    explicit WlClipboard(const QString &toolFolder = {});
    ~WlClipboard() override;

    // Both tools are there and the watch runs.
    bool isReady() const;
    static bool toolsInstalled(const QString &toolFolder = {});

    std::uint64_t changeCount() override;
    bool waitForChange(std::uint64_t since, int milliseconds) override;
    std::optional<QString> text(int milliseconds) override;
    bool setText(const QString &text) override;
    bool clear() override;

private:
    void takeIn();

    QString m_copy;
    QString m_paste;
    std::unique_ptr<QProcess> m_watch; // prints a line for every change
    std::uint64_t m_changes = 0;
};
