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

std::optional<QString> SelectionReader::viaAccessibility()
{
    const auto selected = m_focused.selectedText();
    return selected ? nonEmpty(*selected) : std::nullopt;
}

std::optional<QString> SelectionReader::viaCopy()
{
    QClipboard *clipboard = QGuiApplication::clipboard();
    const QString previous = clipboard->text(QClipboard::Clipboard);
    const bool hadText = !previous.isNull();
    const std::uint64_t before = m_clipboard.changeCount();

    m_keys.send(KeySynthesizer::Command::copy);
    if (!m_clipboard.waitForChange(before, copyWaitMilliseconds))
        return std::nullopt; // nothing was copied; the clipboard is as it was

    const QString copied = clipboard->text(QClipboard::Clipboard);
    if (hadText)
        clipboard->setText(previous, QClipboard::Clipboard);
    else
        clipboard->clear(QClipboard::Clipboard);
    return nonEmpty(copied);
}
