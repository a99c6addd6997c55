#include "ui/LoginController.h"

#include "backend/Backend.h"
#include "core/DescribedError.h"
#include "stores/AuthStore.h"
#include "ui/QmlStores.h"

#include <QDesktopServices>
#include <QPointer>

LoginController::LoginController(QObject *parent)
    : LoginController(QmlStores::instance<Backend>(), QmlStores::instance<AuthStore>(), parent)
{}

LoginController::LoginController(Backend &backend, AuthStore &auth, QObject *parent)
    : QObject(parent), m_backend(backend), m_auth(auth)
{}

void LoginController::signIn(const QString &email, const QString &password)
{
    run(false, QString(), email.trimmed(), password);
}

void LoginController::createAccount(const QString &name, const QString &email,
                                    const QString &password)
{
    run(true, name.trimmed(), email.trimmed(), password);
}

QCoro::Task<void> LoginController::run(bool registering, QString name, QString email,
                                       QString password)
{
    if (m_busy)
        co_return;
    if (email.isEmpty() || password.isEmpty()) {
        setErrorText(QStringLiteral("Enter your email and password."));
        co_return;
    }
    QPointer<LoginController> self(this);
    setBusy(true);
    setErrorText(QString());
    QString failure;
    try {
        AuthSession session;
        if (registering)
            session = co_await m_backend.registerAccount(email, password, name);
        else
            session = co_await m_backend.login(email, password);
        if (!self)
            co_return;
        co_await m_auth.applyToken(session.token);
    } catch (...) {
        failure = DescribedError::describe(std::current_exception());
    }
    if (!self)
        co_return;
    setBusy(false);
    setErrorText(failure);
}

void LoginController::checkGoogle()
{
    askGoogle();
}

QCoro::Task<void> LoginController::askGoogle()
{
    QPointer<LoginController> self(this);
    const bool available = co_await m_backend.googleAvailable();
    if (!self || available == m_googleAvailable)
        co_return;
    m_googleAvailable = available;
    Q_EMIT googleAvailableChanged();
}

void LoginController::continueWithGoogle()
{
    if (!QDesktopServices::openUrl(m_backend.googleSignInURL()))
        setErrorText(QStringLiteral("Couldn't open the browser for sign-in."));
}

void LoginController::setBusy(bool busy)
{
    if (m_busy == busy)
        return;
    m_busy = busy;
    Q_EMIT busyChanged();
}

void LoginController::setErrorText(const QString &text)
{
    if (m_errorText == text)
        return;
    m_errorText = text;
    Q_EMIT errorTextChanged();
}
