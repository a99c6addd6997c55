#pragma once

#include <QObject>
#include <QStringList>
#include <QtQml/qqmlregistration.h>

class QJSEngine;
class QQmlEngine;

// What the application tells the main window beyond the stores: that there is no tray, a
// sign-in that failed in the browser, which permission to explain. The window's actions
// that belong to the application come back as signals.
class MainWindowState : public QObject
{
    Q_OBJECT
    QML_ELEMENT
    QML_SINGLETON
    // No tray host: the window is the only way in, so it stays open and says so.
    Q_PROPERTY(bool trayMissing READ trayMissing WRITE setTrayMissing NOTIFY trayMissingChanged)
    Q_PROPERTY(QString signInError READ signInError WRITE setSignInError NOTIFY signInErrorChanged)
    // "Privacy_Microphone", "Privacy_Accessibility", "Privacy_ScreenCapture"; empty: no help.
    Q_PROPERTY(QString helpTopic READ helpTopic WRITE setHelpTopic NOTIFY helpTopicChanged)
    // How this Ovrin gets new versions, for "Check for Updates…".
    Q_PROPERTY(QString updateInfo READ updateInfo WRITE setUpdateInfo NOTIFY updateInfoChanged)
    // The shell command that starts the backend, for the home page's offline row.
    Q_PROPERTY(QString backendCommand READ backendCommand CONSTANT)
public:
    static MainWindowState &shared();
    static MainWindowState *create(QQmlEngine *, QJSEngine *);

    bool trayMissing() const { return m_trayMissing; }
    void setTrayMissing(bool missing);
    const QString &signInError() const { return m_signInError; }
    void setSignInError(const QString &error);
    const QString &helpTopic() const { return m_helpTopic; }
    void setHelpTopic(const QString &topic);
    const QString &updateInfo() const { return m_updateInfo; }
    void setUpdateInfo(const QString &info);
    QString backendCommand() const;
    // In `directory`, a build or install with ovrin-server beside ovrin gets that path.
    static QString backendCommandIn(const QString &directory);

Q_SIGNALS:
    void trayMissingChanged();
    void signInErrorChanged();
    void helpTopicChanged();
    void updateInfoChanged();
    // From the window's menu.
    void quitRequested();
    // The Meetings page's record button: start, or stop and upload.
    void meetingToggleRequested();

private:
    // Not default-constructible from outside, or QML would make an instance of its own.
    MainWindowState() = default;

    bool m_trayMissing = false;
    QString m_signInError;
    QString m_helpTopic;
    QString m_updateInfo;
};
