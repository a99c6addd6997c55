#pragma once

#include <QByteArray>
#include <QList>
#include <QPair>
#include <QString>

#include <cstdint>
#include <optional>

// Everything a clipboard holds: each format's bytes under its name (a MIME type such as
// "image/png", or an X target such as "UTF8_STRING").
using ClipboardContents = QList<QPair<QString, QByteArray>>;

// Counts changes of the clipboard's owner, whoever makes them (X11 has no change count),
// and reads the owner's text on a connection of its own: the toolkit asks with the time of
// the last event it handled, which an owner that claimed the clipboard a moment ago refuses.
class ClipboardWatcher
{
public:
    virtual ~ClipboardWatcher() = default;
    // Every change up to this moment counted.
    virtual std::uint64_t changeCount() = 0;
    // Blocks up to `milliseconds` for the count to move past `since`; true when it did.
    virtual bool waitForChange(std::uint64_t since, int milliseconds) = 0;
    // The clipboard's plain text from its current owner; nothing without an owner, without
    // text, or when the owner does not answer within `milliseconds`.
    virtual std::optional<QString> text(int milliseconds) = 0;
    // Every format the current owner offers; nothing without an owner, when one of them can't
    // be read within `milliseconds`, or when they come to more than `maxBytes`.
    virtual std::optional<ClipboardContents> contents(int milliseconds, qsizetype maxBytes)
    {
        Q_UNUSED(milliseconds)
        Q_UNUSED(maxBytes)
        return std::nullopt;
    }
};
