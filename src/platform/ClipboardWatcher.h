#pragma once

#include <cstdint>

// Counts changes of the clipboard's owner, whoever makes them (X11 has no change count).
class ClipboardWatcher
{
public:
    virtual ~ClipboardWatcher() = default;
    virtual std::uint64_t changeCount() = 0;
    // Blocks up to `milliseconds` for the count to move past `since`; true when it did.
    virtual bool waitForChange(std::uint64_t since, int milliseconds) = 0;
};
