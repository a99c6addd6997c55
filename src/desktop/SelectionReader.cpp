#include "desktop/SelectionReader.h"

#include "core/Text.h"
#include "platform/ClipboardWatcher.h"
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
                                 ClipboardWatcher &clipboard)
    : m_focused(focused), m_keys(keys), m_clipboard(clipboard)
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
    const QString previous = QGuiApplication::clipboard()->text(QClipboard::Clipboard);
    const std::uint64_t before = m_clipboard.changeCount();

    m_keys.send(KeySynthesizer::Command::copy);
    if (!m_clipboard.waitForChange(before, copyWaitMilliseconds))
        return std::nullopt; // nothing was copied; the clipboard is as it was

    const std::optional<QString> copied = m_clipboard.text(readWaitMilliseconds);
    restoreOnceSeen(previous.isNull() ? std::nullopt : std::optional(previous),
                    m_clipboard.changeCount());
    return copied ? nonEmpty(*copied) : std::nullopt;
}

void SelectionReader::restoreOnceSeen(std::optional<QString> previous, std::uint64_t copied)
{
    // The toolkit claims the clipboard with the time of the last window-system event it
    // handled, and a claim older than the copying application's is ignored. So the previous
    // text goes back once the toolkit has taken in that claim, if nothing changed it since.
    QClipboard *clipboard = QGuiApplication::clipboard();
    m_pendingRestore = QObject::connect(
        clipboard, &QClipboard::dataChanged, clipboard, [this, clipboard, previous, copied] {
            QObject::disconnect(m_pendingRestore);
            if (m_clipboard.changeCount() != copied)
                return;
            if (previous)
                clipboard->setText(*previous, QClipboard::Clipboard);
            else
                clipboard->clear(QClipboard::Clipboard);
        });
}
