#include "desktop/QtScreens.h"

#include <QCursor>
#include <QGuiApplication>
#include <QScreen>

std::optional<QRect> QtScreens::activeScreen() const
{
    QScreen *screen = QGuiApplication::screenAt(QCursor::pos());
    if (!screen)
        screen = QGuiApplication::primaryScreen();
    if (!screen)
        return std::nullopt;
    return screen->availableGeometry();
}
