#pragma once

#include "platform/ScreenGrabber.h"
#include "platform/WindowSystem.h"

#include <QByteArray>
#include <QCoro/QCoroTask>
#include <QImage>
#include <QList>
#include <QPoint>
#include <QRect>
#include <QSize>

#include <optional>

class QScreen;
class QWindow;

// One JPEG of the screen under the pointer for a question about the screen, the pointer
// drawn in. The picture is taken the moment it is asked for, so a panel of ours shown
// afterwards (the recording pill) is never in it; scaling and encoding happen off the main
// thread. Any failure gives no picture.
class ScreenCapturer
{
public:
    // How long the windows under a panel we take away get to draw themselves again.
    static constexpr int settleMilliseconds = 60;

    // Without a window system the picture has no pointer. With a grabber the desktop takes
    // the picture (a Wayland desktop, where an X grab comes back empty).
    explicit ScreenCapturer(const WindowSystem *windows = nullptr, ScreenGrabber *grabber = nullptr)
        : m_windows(windows), m_grabber(grabber)
    {}
    virtual ~ScreenCapturer() = default;

    // `leaveOut`: our own windows that must not be in the picture; those on screen are
    // hidden first, and the capture waits a moment for what they covered. Virtual: the
    // screen is the seam unit tests fake.
    virtual QCoro::Task<std::optional<QByteArray>>
    captureActiveDisplay(double maxDimension, double quality,
                         const QList<QWindow *> &leaveOut = {});

    // The first screen whose frame holds the pointer, else the primary; null without one.
    static QScreen *displayUnderCursor();
    // The index in `frames` of the first frame holding `pointer`, else `primary`
    // (-1 for none).
    static qsizetype displayUnderCursor(const QList<QRect> &frames, qsizetype primary,
                                        QPoint pointer);
    // Shrinks to fit `maxDimension` (never enlarges); sides are truncated, at least 1.
    static QSize scaledSize(QSize size, double maxDimension);
    // `quality` from 0 (smallest) to 1 (best).
    static std::optional<QByteArray> jpeg(const QImage &image, double maxDimension, double quality);

private:
    // Draws the pointer into a picture of the screen whose top-left device pixel is `origin`.
    static void drawPointer(QImage &picture, QPoint origin, const WindowSystem::Pointer &pointer);
    static QCoro::Task<std::optional<QByteArray>> encode(QImage picture, double maxDimension,
                                                         double quality);

    const WindowSystem *m_windows;
    ScreenGrabber *m_grabber;
};
