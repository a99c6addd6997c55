#pragma once

#include <QString>

// One entry of the sidebar: the page id (as in selectedTab), its title and its iconName.
struct SidebarNavItem
{
    int id = 0;
    QString title;
    QString iconName;
};
