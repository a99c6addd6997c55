#pragma once

#include <QImage>
#include <QRect>
#include <QString>

#include <functional>
#include <optional>

// Takes a picture of the screen where an X client cannot (a Wayland desktop hands an X root
// grab back empty). Asynchronous: the desktop may ask the user the first time.
class ScreenGrabber
{
public:
    // The picture (with the pointer where the desktop draws it in), or nothing and why (the
    // user's words).
    using Done = std::function<void(std::optional<QImage> picture, QString problem)>;

    virtual ~ScreenGrabber() = default;
    // `area`: the part of the desktop wanted, in the desktop's logical coordinates; empty for
    // all of it. `done` is called once, on this thread: within this call where the picture
    // is taken at once (so nothing shown afterwards is in it), later where the desktop asks.
    virtual void grab(QRect area, Done done) = 0;
};
