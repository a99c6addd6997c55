#pragma once

#include "ui/SidebarNavSection.h"

#include <QObject>
#include <QVariantList>
#include <QtQml/qqmlregistration.h>

// The window's fixed navigation: the sections of the sidebar, and which page each id shows.
class SidebarNavigation : public QObject
{
    Q_OBJECT
    QML_ELEMENT
    QML_SINGLETON
    // [{title, items: [{id, title, iconName, icon}]}]
    Q_PROPERTY(QVariantList sections READ sectionList CONSTANT)
public:
    enum Page {
        home = 0,
        settings = 1,
        transcripts = 2,
        console = 3,
        chat = 4,
        meetings = 5,
        tasks = 6,
        reminders = 7,
        memory = 8,
        projects = 9,
        dictionary = 10,
        connections = 11,
    };
    Q_ENUM(Page)

    explicit SidebarNavigation(QObject *parent = nullptr) : QObject(parent) {}

    static const QList<SidebarNavSection> &sections();
    QVariantList sectionList() const;
    // The title of page `id`; empty for an unknown id.
    Q_INVOKABLE static QString title(int id);
    // Distinct for every page, so that switching between the two history pages rebuilds
    // the page rather than reusing it. Unknown ids show Home.
    Q_INVOKABLE static QString pageIdentity(int id);
    // The sidebar's live status for the capture activity (0 idle, 1 recording,
    // 2 transcribing) and whether the dictation key is held.
    Q_INVOKABLE static QString statusText(int activity, bool hotkeyIsDown);
    // The QML file of page `id`, relative to the window's own.
    Q_INVOKABLE static QString pageSource(int id);
};
