#pragma once

#include <QList>
#include <QString>

// How one function of the application reaches the desktop on this session, as Home and the
// Console show it: which way was chosen and what the user can do to get a better one.
struct DesktopRung
{
    QString function; // "Hotkeys", "Paste", …
    QString rung;     // the way in use, in the user's words
    QString advice;   // empty when nothing better is to be had
    bool working = true;
    friend bool operator==(const DesktopRung &, const DesktopRung &) = default;
};
using DesktopRungs = QList<DesktopRung>;
