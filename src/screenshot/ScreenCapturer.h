#pragma once

#include <QByteArray>
#include <QCoro/QCoroTask>
#include <QImage>
#include <QList>
#include <QPoint>
#include <QRect>
#include <QSize>

#include <optional>

class QScreen;

// One JPEG of the screen under the pointer for a question about the screen. The picture
// is taken the moment it is asked for, so a panel of ours shown afterwards (the recording
// pill) is never in it; scaling and encoding happen off the main thread. Any failure
// gives no picture.
class ScreenCapturer
{
public:
    QCoro::Task<std::optional<QByteArray>> captureActiveDisplay(double maxDimension,
                                                                double quality);

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
    static QCoro::Task<std::optional<QByteArray>> encode(QImage picture, double maxDimension,
                                                         double quality);
};
