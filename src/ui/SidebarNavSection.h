#pragma once

#include "ui/SidebarNavItem.h"

#include <QList>
#include <QString>

// A group of sidebar entries under a title (which may be empty).
struct SidebarNavSection
{
    QString title;
    QList<SidebarNavItem> items;
};
