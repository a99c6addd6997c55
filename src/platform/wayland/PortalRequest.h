#pragma once

#include "core/TimerHandle.h"

#include <QDBusConnection>
#include <QDBusMessage>
#include <QObject>
#include <QVariantMap>

#include <functional>

class Scheduler;

// One call to the desktop portal that answers through a Request object: the call's reply is
// only a handle, the answer comes later as that Request's Response signal. The handle's path is
// known beforehand (our bus name and a token we choose), so the signal is subscribed to before
// the call goes out and an answer that overtakes the reply is not lost. The request deletes
// itself once it has answered or been cancelled.
class PortalRequest : public QObject
{
    Q_OBJECT
public:
    enum class Outcome {
        granted,   // response 0
        cancelled, // response 1: the user said no
        ended,     // response 2 or another: the desktop ended it
        failed,    // the call itself failed
        timedOut,
    };
    struct Answer
    {
        Outcome outcome = Outcome::failed;
        QVariantMap results;
        QString problem; // why, in words, for every outcome but granted
    };
    using Done = std::function<void(const Answer &)>;
    // The call to send, given the handle_token to put in its options.
    using MakeCall = std::function<QDBusMessage(const QString &handleToken)>;

    static const QString service;     // org.freedesktop.portal.Desktop
    static const QString desktopPath; // /org/freedesktop/portal/desktop
    static const QString appId;       // what the application calls itself to the portal

    // Sends the call and calls `done` once, later: on the Response, on the call's failure, or
    // after `timeoutSeconds` (closing the portal's dialog, if it shows one). Nothing is called
    // once `context` is gone. The returned request may be cancelled until then.
    static PortalRequest *send(QDBusConnection bus, Scheduler &scheduler, MakeCall makeCall,
                               double timeoutSeconds, QObject *context, Done done);

    // CreateSession of the portal's `interface`: `done` gets the session's object path, or an
    // empty one and why ("the desktop opened no <what> session: …").
    using SessionDone = std::function<void(const QString &session, const QString &problem)>;
    static PortalRequest *createSession(QDBusConnection bus, Scheduler &scheduler,
                                        const QString &interface, const QString &what,
                                        double timeoutSeconds, QObject *context, SessionDone done);

    // Where the portal answers: /org/freedesktop/portal/desktop/request/SENDER/TOKEN, SENDER
    // being our unique bus name without its ':' and with '_' for every '.'.
    static QString requestPath(const QString &uniqueName, const QString &token);
    // Unique in this process; a valid object path element.
    static QString newToken();

    // Names the application to the portal's host registry, which newer portals want before a
    // host application's first call; once per connection, then `then` (not after `context` is
    // gone). Failures are ignored: older portals have no registry and need none.
    static void registerApp(QDBusConnection bus, QObject *context, std::function<void()> then);

    // Asynchronous: `done(true)`, later, when the portal has `interface` (its version can be
    // read, after naming the application); false otherwise or after two seconds. Nothing is
    // called once `context` is gone.
    static void interfaceOffered(QDBusConnection bus, Scheduler &scheduler,
                                 const QString &interface, QObject *context,
                                 std::function<void(bool)> done);

    ~PortalRequest() override;

    // Gives up: the portal's dialog, if any, is closed and `done` is not called.
    void cancel();

private Q_SLOTS:
    void response(uint code, const QVariantMap &results);

private:
    PortalRequest(QDBusConnection bus, QObject *context, Done done);
    void call(const QDBusMessage &message);
    void follow(const QString &path);
    void finish(const Answer &answer);
    void closeOnPortal();

    QDBusConnection m_bus;
    QString m_token;
    QString m_path; // followed for the Response
    Done m_done;
    TimerHandle m_timer;
};
