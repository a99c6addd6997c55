#pragma once

#include <QCoro/QCoroTask>
#include <QObject>
#include <QtQml/qqmlregistration.h>

class AuthStore;
class Backend;

// The login page's actions: email sign-in, registration and the browser sign-in. A success
// lands in the auth store, whose user switches the window to the application.
class LoginController : public QObject
{
    Q_OBJECT
    QML_ELEMENT
    Q_PROPERTY(bool busy READ busy NOTIFY busyChanged)
    // The backend's description of the last failure; empty when there is none.
    Q_PROPERTY(QString errorText READ errorText NOTIFY errorTextChanged)
    Q_PROPERTY(bool googleAvailable READ googleAvailable NOTIFY googleAvailableChanged)
public:
    explicit LoginController(QObject *parent = nullptr);
    LoginController(Backend &backend, AuthStore &auth, QObject *parent = nullptr);

    bool busy() const { return m_busy; }
    const QString &errorText() const { return m_errorText; }
    bool googleAvailable() const { return m_googleAvailable; }

    Q_INVOKABLE void signIn(const QString &email, const QString &password);
    Q_INVOKABLE void createAccount(const QString &name, const QString &email,
                                   const QString &password);
    // Asks the backend whether the browser sign-in is offered.
    Q_INVOKABLE void checkGoogle();
    // Opens the backend's sign-in page in the browser; it calls back with ovrin://auth.
    Q_INVOKABLE void continueWithGoogle();

Q_SIGNALS:
    void busyChanged();
    void errorTextChanged();
    void googleAvailableChanged();

private:
    QCoro::Task<void> run(bool registering, QString name, QString email, QString password);
    QCoro::Task<void> askGoogle();
    void setBusy(bool busy);
    void setErrorText(const QString &text);

    Backend &m_backend;
    AuthStore &m_auth;
    bool m_busy = false;
    QString m_errorText;
    bool m_googleAvailable = false;
};
