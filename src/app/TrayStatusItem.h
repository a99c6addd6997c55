#pragma once

#include "backend/HistoryEntry.h"

#include <QList>
#include <QObject>
#include <QString>

class QAction;
class QMenu;
class QSystemTrayIcon;

// The status item in the system tray and its menu.
class TrayStatusItem : public QObject
{
    Q_OBJECT
public:
    explicit TrayStatusItem(QObject *parent = nullptr);
    ~TrayStatusItem() override;

    // False when no tray host runs; the icon appears once one starts.
    static bool isTrayAvailable();
    static constexpr int recentTranscriptCount = 5;
    static constexpr int transcriptTitleLength = 48;
    // The newest transcripts first, at most recentTranscriptCount of them.
    static QStringList recentTranscripts(QList<HistoryEntry> entries);

    void show();
    void setStatusText(const QString &text);
    // One of "microphone-idle", "microphone", "waveform", "media-record".
    void setIconName(const QString &iconName);
    QString statusText() const;
    QString iconName() const { return m_iconName; }
    QMenu *menu() const { return m_menu; }
    QAction *meetingItem() const { return m_meetingItem; }
    void setMeetingRecording(bool recording);
    // Replaces the "Recent transcripts" block: its header, one item per text, a separator.
    void setRecentTranscripts(const QStringList &texts);
    const QList<QAction *> &transcriptItems() const { return m_transcriptItems; }

Q_SIGNALS:
    void openRequested();
    void settingsRequested();
    void meetingToggleRequested();
    void quitRequested();
    // The menu is about to open: the moment to bring its contents up to date.
    void menuAboutToShow();
    void transcriptChosen(const QString &text);

private:
    QMenu *m_menu = nullptr;
    QSystemTrayIcon *m_icon = nullptr;
    QAction *m_statusMenuItem = nullptr;
    QAction *m_meetingItem = nullptr;
    QAction *m_statusSeparator = nullptr;
    QList<QAction *> m_transcriptItems;
    QString m_iconName;
};
