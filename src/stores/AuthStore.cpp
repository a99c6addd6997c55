#include "stores/AuthStore.h"

#include "backend/Backend.h"
#include "core/ProcessWide.h"
#include "stores/AssistantStore.h"
#include "stores/DictionaryStore.h"
#include "stores/HistoryStore.h"
#include "stores/MeetingStore.h"
#include "stores/SecretServiceKeychain.h"
#include "stores/UserDataCache.h"

#include <QCoreApplication>
#include <QPointer>

AuthStore &AuthStore::shared()
{
    return processWide<AuthStore>([] {
        static SecretServiceKeychain keychain;
        auto *store = new AuthStore(Backend::shared(), keychain);
        Backend::shared().setTokenProvider(store);
        // Signing out empties what was cached for the user.
        store->addUserDataCache(&HistoryStore::shared());
        store->addUserDataCache(&MeetingStore::shared());
        store->addUserDataCache(&AssistantStore::shared());
        store->addUserDataCache(&DictionaryStore::shared());
        return store;
    });
}

AuthStore::AuthStore(Backend &backend, Keychain &keychain, QObject *parent)
    : QObject(parent), m_backend(backend), m_keychain(keychain)
{}

QVariantMap AuthStore::userMap() const
{
    if (!m_user)
        return {};
    QVariantMap map = m_user->toJson().toVariantMap();
    map.insert(QStringLiteral("initials"), m_user->initials());
    return map;
}

void AuthStore::setUser(std::optional<AuthUser> user)
{
    if (user == m_user)
        return;
    m_user = std::move(user);
    Q_EMIT userChanged();
}

void AuthStore::setRestoring(bool restoring)
{
    if (restoring == m_isRestoring)
        return;
    m_isRestoring = restoring;
    Q_EMIT isRestoringChanged();
}

void AuthStore::reportKeychainProblem(const QString &error)
{
    if (!m_keychainProblem.isEmpty())
        return;
    m_keychainProblem =
        QStringLiteral("Your sign-in can't be remembered: the keyring is not available (%1). "
                       "You will need to sign in again next time.")
            .arg(error.isEmpty() ? QStringLiteral("no Secret Service") : error);
    Q_EMIT keychainProblemChanged();
    Q_EMIT keychainUnavailable(m_keychainProblem);
}

QCoro::Task<bool> AuthStore::loadStoredToken()
{
    QPointer<AuthStore> self(this);
    const Keychain::Reply stored = co_await m_keychain.read(QString::fromLatin1(keychainKey));
    if (!self || stored.status != Keychain::Status::ok || stored.value.isEmpty())
        co_return false;
    m_token = stored.value;
    co_return true;
}

QCoro::Task<void> AuthStore::restore()
{
    QPointer<AuthStore> self(this);
    const bool stored = co_await loadStoredToken();
    if (!self)
        co_return;
    if (!stored) {
        setRestoring(false);
        co_return;
    }
    try {
        AuthUser user = co_await m_backend.me();
        if (!self)
            co_return;
        setUser(std::move(user));
        setRestoring(false);
    } catch (const std::exception &) {
        if (!self)
            co_return;
        m_token.clear();
        // Started, not awaited: the sign-in page need not wait for the keyring.
        m_keychain.remove(QString::fromLatin1(keychainKey));
        setRestoring(false);
    }
}

QCoro::Task<void> AuthStore::applyToken(QString token)
{
    QPointer<AuthStore> self(this);
    m_token = token;
    const Keychain::Reply saved = co_await m_keychain.save(QString::fromLatin1(keychainKey), token);
    if (!self)
        co_return;
    if (saved.status != Keychain::Status::ok)
        reportKeychainProblem(saved.error);
    AuthUser user = co_await m_backend.me();
    if (self)
        setUser(std::move(user));
}

QCoro::Task<bool> AuthStore::signOut()
{
    m_token.clear();
    setUser(std::nullopt);
    // The keyring is asked first; the caches empty while it answers.
    QCoro::Task<Keychain::Reply> removal = m_keychain.remove(QString::fromLatin1(keychainKey));
    for (UserDataCache *cache : std::as_const(m_caches))
        cache->reset();
    const Keychain::Reply removed = co_await std::move(removal);
    co_return removed.status == Keychain::Status::ok;
}

void AuthStore::requestSignOut()
{
    signOut();
}
