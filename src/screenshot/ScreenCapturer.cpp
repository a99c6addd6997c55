#include "screenshot/ScreenCapturer.h"

#include <QBuffer>
#include <QCoro/QCoroFuture>
#include <QCursor>
#include <QGuiApplication>
#include <QImageWriter>
#include <QPainter>
#include <QPixmap>
#include <QPromise>
#include <QScreen>
#include <QThread>
#include <QWindow>
#include <QtConcurrent/QtConcurrentRun>

#include <algorithm>
#include <cmath>

QCoro::Task<std::optional<QByteArray>>
ScreenCapturer::captureActiveDisplay(double maxDimension, double quality,
                                     const QList<QWindow *> &leaveOut)
{
    // X has no way to leave a window out of a grab: a panel of ours goes away first, and the
    // applications under it get a moment to draw what it covered. The grab itself happens
    // here, before the caller goes on to show its pill; only the encoding waits.
    bool hidden = false;
    for (QWindow *window : leaveOut) {
        if (window && window->isVisible()) {
            window->hide();
            hidden = true;
        }
    }
    // Hiding sends the request at once; the grab below goes on the same connection.
    if (hidden)
        QThread::msleep(settleMilliseconds);
    if (m_grabber) {
        // The desktop takes the picture, the pointer in it; it may ask the user first.
        QScreen *screen = displayUnderCursor();
        auto promise = std::make_shared<QPromise<QImage>>();
        QFuture<QImage> taken = promise->future();
        promise->start();
        m_grabber->grab(screen ? screen->geometry() : QRect(),
                        [promise](std::optional<QImage> picture, const QString &problem) {
                            if (!picture)
                                qWarning("Screenshot: %s", qPrintable(problem));
                            promise->addResult(picture.value_or(QImage()));
                            promise->finish();
                        });
        QImage grabbed = co_await taken;
        co_return co_await encode(std::move(grabbed), maxDimension, quality);
    }
    QImage picture;
    if (QScreen *screen = displayUnderCursor()) {
        picture = screen->grabWindow(0).toImage();
        const std::optional<WindowSystem::Pointer> pointer =
            m_windows ? m_windows->pointer() : std::nullopt;
        if (pointer && !picture.isNull())
            drawPointer(picture, screen->geometry().topLeft() * screen->devicePixelRatio(),
                        *pointer);
    }
    co_return co_await encode(std::move(picture), maxDimension, quality);
}

void ScreenCapturer::drawPointer(QImage &picture, QPoint origin,
                                 const WindowSystem::Pointer &pointer)
{
    if (pointer.pixels.size() != qsizetype(pointer.size.width()) * pointer.size.height())
        return;
    const QImage image(reinterpret_cast<const uchar *>(pointer.pixels.constData()),
                       pointer.size.width(), pointer.size.height(), pointer.size.width() * 4,
                       QImage::Format_ARGB32_Premultiplied);
    if (picture.format() != QImage::Format_RGB32 && picture.format() != QImage::Format_ARGB32 &&
        picture.format() != QImage::Format_ARGB32_Premultiplied)
        picture = picture.convertToFormat(QImage::Format_RGB32);
    QPainter painter(&picture);
    painter.drawImage(pointer.topLeft - origin, image);
}

QCoro::Task<std::optional<QByteArray>> ScreenCapturer::encode(QImage picture, double maxDimension,
                                                              double quality)
{
    if (picture.isNull())
        co_return std::nullopt;
    QFuture<std::optional<QByteArray>> encoding = QtConcurrent::run(
        [picture, maxDimension, quality] { return jpeg(picture, maxDimension, quality); });
    co_return co_await encoding;
}

QScreen *ScreenCapturer::displayUnderCursor()
{
    const QList<QScreen *> screens = QGuiApplication::screens();
    QList<QRect> frames;
    for (const QScreen *screen : screens)
        frames.append(screen->geometry());
    const qsizetype index = displayUnderCursor(
        frames, screens.indexOf(QGuiApplication::primaryScreen()), QCursor::pos());
    return index >= 0 ? screens.at(index) : nullptr;
}

qsizetype ScreenCapturer::displayUnderCursor(const QList<QRect> &frames, qsizetype primary,
                                             QPoint pointer)
{
    for (qsizetype i = 0; i < frames.size(); ++i) {
        if (frames[i].contains(pointer))
            return i;
    }
    return primary >= 0 && primary < frames.size() ? primary : -1;
}

QSize ScreenCapturer::scaledSize(QSize size, double maxDimension)
{
    const double longest = std::max(size.width(), size.height());
    double scale = std::min(1.0, maxDimension / longest);
    if (!(scale > 0)) // a zero, negative or NaN limit leaves the smallest picture
        scale = 0;
    // Truncated, not rounded: 2880 × (1568 / 2880) is 1567.999…, so 1567.
    const auto side = [scale](int length) {
        return std::max(1, static_cast<int>(std::trunc(length * scale)));
    };
    return {side(size.width()), side(size.height())};
}

std::optional<QByteArray> ScreenCapturer::jpeg(const QImage &image, double maxDimension,
                                               double quality)
{
    if (image.isNull())
        return std::nullopt;
    const QSize target = scaledSize(image.size(), maxDimension);
    const QImage scaled = target == image.size() ? image
                                                 : image.scaled(target, Qt::IgnoreAspectRatio,
                                                                Qt::SmoothTransformation);
    if (scaled.isNull())
        return std::nullopt;
    QByteArray bytes;
    QBuffer buffer(&bytes);
    buffer.open(QIODevice::WriteOnly);
    QImageWriter writer(&buffer, "jpeg");
    writer.setQuality(std::clamp(static_cast<int>(std::lround(quality * 100)), 0, 100));
    if (!writer.write(scaled))
        return std::nullopt;
    return bytes;
}
