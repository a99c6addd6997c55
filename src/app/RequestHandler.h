#pragma once

#include "hotkeys/CaptureMode.h"

#include <QCoro/QCoroTask>
#include <QObject>
#include <QStringList>
#include <QUrl>

class AppModel;
class CaptureSessionController;

// What a command line asks of the running application, this process's own or one a later
// `ovrin` handed over: a sign-in callback URL, "toggle", "ask-toggle", "screen-toggle", or
// nothing, which brings up the window.
class RequestHandler : public QObject
{
    Q_OBJECT
public:
    RequestHandler(AppModel &model, CaptureSessionController &controller,
                   QObject *parent = nullptr);

    // Program name first.
    void handleArguments(const QStringList &arguments);
    void handleURL(const QUrl &url);

Q_SIGNALS:
    // The request is for the window: a plain `ovrin`, or a sign-in that came back.
    void mainWindowWanted();

private:
    // For desktops whose shortcuts can only run a command: one run starts, the next ends.
    void toggleCapture(CaptureMode mode);
    QCoro::Task<void> finishSignIn(QString token);
    void reportSignInFailure(const QString &reason);

    AppModel &m_model;
    CaptureSessionController &m_controller;
};
