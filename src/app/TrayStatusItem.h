#pragma once

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

    void show();
    void setStatusText(const QString &text);
    // One of "mic", "mic.fill", "waveform", "record.circle.fill".
    void setSymbol(const QString &symbol);
    QString statusText() const;
    QString symbol() const { return m_symbol; }
    QMenu *menu() const { return m_menu; }
    QAction *meetingItem() const { return m_meetingItem; }

Q_SIGNALS:
    void openRequested();
    void settingsRequested();
    void meetingToggleRequested();
    void quitRequested();

private:
    QMenu *m_menu = nullptr;
    QSystemTrayIcon *m_icon = nullptr;
    QAction *m_statusMenuItem = nullptr;
    QAction *m_meetingItem = nullptr;
    QString m_symbol;
};
