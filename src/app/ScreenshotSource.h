#pragma once

#include <QByteArray>
#include <QCoro/QCoroTask>

#include <optional>

// A JPEG of the display under the pointer; nothing when the screen cannot be captured.
class ScreenshotSource
{
public:
    virtual ~ScreenshotSource() = default;
    virtual QCoro::Task<std::optional<QByteArray>> captureActiveDisplay(double maxDimension,
                                                                        double quality) = 0;
};
