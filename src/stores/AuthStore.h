#pragma once

#include "backend/AuthUser.h"
#include "backend/TokenProvider.h"

#include <QCoro/QCoroTask>
#include <QList>
#include <QObject>
#include <QVariantMap>

#include <optional>

class Backend;
class Keychain;
class UserDataCache;

// Who is signed in: the bearer token every request carries and the user the views
// show. Only the token is kept, in the keyring; the user is fetched again each launch.
class AuthStore : public QObject, public TokenProvider
{
    Q_OBJECT
    Q_PROPERTY(bool signedIn READ signedIn NOTIFY userChanged)
    Q_PROPERTY(QVariantMap user READ userMap NOTIFY userChanged)
    Q_PROPERTY(bool isRestoring READ isRestoring NOTIFY isRestoringChanged)
    Q_PROPERTY(QString keychainProblem READ keychainProblem NOTIFY keychainProblemChanged)
public:
    static constexpr const char *keychainKey = "com.ovrin.app.authToken";

    // Also becomes the token provider of Backend::shared().
    static AuthStore &shared();
    AuthStore(Backend &backend, Keychain &keychain, QObject *parent = nullptr);

    const std::optional<AuthUser> &user() const { return m_user; }
    bool signedIn() const { return m_user.has_value(); }
    QVariantMap userMap() const;
    bool isRestoring() const { return m_isRestoring; }
    const QString &token() const { return m_token; }
    QString bearerToken() const override { return m_token; }
    // Why the sign-in will not survive a restart; empty while the keyring works.
    const QString &keychainProblem() const { return m_keychainProblem; }

    // Emptied at sign-out.
    void addUserDataCache(UserDataCache *cache) { m_caches.append(cache); }

    // Once at launch: the stored token, checked with the backend. Any failure, even an
    // unreachable backend, forgets the token.
    QCoro::Task<void> restore();
    // After sign-in, registration or the browser callback. Throws what "me" throws;
    // the token stays in memory and in the keyring then.
    QCoro::Task<void> applyToken(QString token);
    // Puts the stored token in memory without asking the backend; false without one.
    QCoro::Task<bool> loadStoredToken();
    // Forgets the token and the user and empties every user cache at once; the task
    // ends when the keyring has forgotten the token too (false when it could not).
    QCoro::Task<bool> signOut();
    // For views: signs out without waiting for the keyring.
    Q_INVOKABLE void requestSignOut();

Q_SIGNALS:
    void userChanged();
    void isRestoringChanged();
    void keychainProblemChanged();
    // The keyring could not keep the token; emitted once per run.
    void keychainUnavailable(const QString &message);

private:
    void setUser(std::optional<AuthUser> user);
    void setRestoring(bool restoring);
    void reportKeychainProblem(const QString &error);

    Backend &m_backend;
    Keychain &m_keychain;
    QList<UserDataCache *> m_caches;
    std::optional<AuthUser> m_user;
    QString m_token;
    bool m_isRestoring = true;
    QString m_keychainProblem;
};
