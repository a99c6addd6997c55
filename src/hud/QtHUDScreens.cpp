#include "hud/QtHUDScreens.h"

#include <QCursor>
#include <QGuiApplication>
#include <QScreen>

std::optional<QRect> QtHUDScreens::activeScreen() const
{
    QScreen *screen = QGuiApplication::screenAt(QCursor::pos());
    if (!screen)
        screen = QGuiApplication::primaryScreen();
    if (!screen)
        return std::nullopt;
    return screen->availableGeometry();
}
