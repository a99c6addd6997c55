#pragma once

#include "AccessibleApp.h"
#include "OvrinProcess.h"
#include "TestDesktop.h"
#include "VirtualMicrophone.h"

#include <QStringList>

// What a user does with Ovrin: holds its keys while speaking, opens pages of its window,
// picks items of its tray menu. Every step goes through the X server, the microphone and
// the accessibility bus; every result is read from the screen or the application's log.
class OvrinUser
{
public:
    OvrinUser(OvrinProcess &ovrin, TestDesktop &desktop, VirtualMicrophone &microphone);

    AccessibleApp &screen() { return m_screen; }

    // Holds `keys` (X keysym names, pressed in order) until the recording has started, speaks
    // `sentence` (nothing when empty: a second of silence), then releases them. True once
    // the log says the recording was sent.
    bool holdAndSay(const QStringList &keys, const QString &startedLog, const QString &sentence);
    // Dictation with the fn key; the transcript the application logged, or a null string.
    QString dictate(const QString &sentence);

    // Clicks a sidebar item and waits for the page title.
    bool openPage(const QString &title);
    // Opens the tray icon's menu, moves `downs` items down and chooses that one.
    bool chooseTrayItem(int downs, const QString &screenshot = {});

    // The reason of the last failure, with the log since the step began.
    QString failure() const { return m_failure; }

private:
    bool fail(const QString &what, qsizetype logFrom);

    OvrinProcess &m_ovrin;
    TestDesktop &m_desktop;
    VirtualMicrophone &m_microphone;
    AccessibleApp m_screen;
    QString m_failure;
};
