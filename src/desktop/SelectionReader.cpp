#include "desktop/SelectionReader.h"

#include "core/Text.h"
#include "platform/ClipboardWatcher.h"
#include "platform/ClipboardWriter.h"
#include "platform/FocusedTextReader.h"
#include "platform/KeySynthesizer.h"

#include <QClipboard>
#include <QGuiApplication>

namespace {

std::optional<QString> nonEmpty(const QString &text)
{
    const QString trimmed = Text::trimmed(text);
    if (trimmed.isEmpty())
        return std::nullopt;
    return trimmed;
}

} // namespace

SelectionReader::SelectionReader(FocusedTextReader &focused, KeySynthesizer &keys,
                                 ClipboardWatcher &clipboard, ClipboardWriter *writer)
    : m_focused(focused), m_keys(keys), m_clipboard(clipboard), m_writer(writer)
{}

SelectionReader::~SelectionReader()
{
    QObject::disconnect(m_pendingRestore);
}

std::optional<QString> SelectionReader::viaAccessibility()
{
    const auto selected = m_focused.selectedText();
    return selected ? nonEmpty(*selected) : std::nullopt;
}

std::optional<QString> SelectionReader::viaCopy()
{
    QObject::disconnect(m_pendingRestore);
    const QString previous = m_writer ? m_clipboard.text(readWaitMilliseconds).value_or(QString())
                                      : QGuiApplication::clipboard()->text(QClipboard::Clipboard);
    const std::uint64_t before = m_clipboard.changeCount();

    if (!m_keys.send(KeySynthesizer::Command::copy) ||
        !m_clipboard.waitForChange(before, copyWaitMilliseconds))
        return std::nullopt; // nothing was copied; the clipboard is as it was

    const std::optional<QString> copied = m_clipboard.text(readWaitMilliseconds);
    restorePrevious(previous.isNull() ? std::nullopt : std::optional(previous),
                    m_clipboard.changeCount());
    return copied ? nonEmpty(*copied) : std::nullopt;
}

void SelectionReader::restorePrevious(std::optional<QString> previous, std::uint64_t copied)
{
    if (m_writer) {
        if (m_clipboard.changeCount() == copied)
            previous ? m_writer->setText(*previous) : m_writer->clear();
        return;
    }
    // Qt stamps its claim with the time of the last X event it handled, and the X server
    // ignores a claim older than the copying application's. A claim that did not take is
    // made again each time Qt takes in a clipboard change (by then its time is recent
    // enough), until one takes or somebody else has claimed the clipboard since.
    QClipboard *clipboard = QGuiApplication::clipboard();
    const auto attempt = [this, clipboard, previous, copied] {
        if (m_clipboard.changeCount() != copied)
            return true;
        if (previous)
            clipboard->setText(*previous, QClipboard::Clipboard);
        else
            clipboard->clear(QClipboard::Clipboard);
        return m_clipboard.changeCount() != copied;
    };
    if (attempt())
        return;
    m_pendingRestore =
        QObject::connect(clipboard, &QClipboard::dataChanged, clipboard, [this, attempt] {
            if (m_restoring)
                return; // the change our own claim announces
            m_restoring = true;
            const bool done = attempt();
            m_restoring = false;
            if (done)
                QObject::disconnect(m_pendingRestore);
        });
}
