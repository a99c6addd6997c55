#include "ui/ConnectionsModel.h"

#include "backend/Backend.h"
#include "core/DescribedError.h"
#include "core/QtScheduler.h"
#include "ui/QmlStores.h"

#include <QDesktopServices>
#include <QPointer>
#include <QVariantMap>

namespace {

Scheduler *defaultScheduler = nullptr;

ConnectionsModel::UrlOpener &urlOpener()
{
    static ConnectionsModel::UrlOpener opener = [](const QUrl &url) {
        return QDesktopServices::openUrl(url);
    };
    return opener;
}

Scheduler &schedulerForQml()
{
    static QtScheduler qtScheduler;
    return defaultScheduler ? *defaultScheduler : qtScheduler;
}

} // namespace

ConnectionsModel::ConnectionsModel(QObject *parent)
    : ConnectionsModel(QmlStores::instance<Backend>(), schedulerForQml(), parent)
{}

ConnectionsModel::ConnectionsModel(Backend &backend, Scheduler &scheduler, QObject *parent)
    : QObject(parent), m_backend(backend), m_scheduler(scheduler), m_apps(offeredApps())
{}

ConnectionsModel::~ConnectionsModel() = default;

void ConnectionsModel::setDefaultScheduler(Scheduler *scheduler)
{
    defaultScheduler = scheduler;
}

void ConnectionsModel::setUrlOpener(UrlOpener opener)
{
    urlOpener() = std::move(opener);
}

QList<AppConnection> ConnectionsModel::offeredApps()
{
    return {{QStringLiteral("email"), QStringLiteral("Email"), false},
            {QStringLiteral("calendar"), QStringLiteral("Calendar"), false},
            {QStringLiteral("messages"), QStringLiteral("Messages"), false}};
}

QVariantList ConnectionsModel::apps() const
{
    QVariantList rows;
    for (const AppConnection &app : m_apps)
        rows.append(QVariantMap{{QStringLiteral("slug"), app.slug},
                                {QStringLiteral("label"), app.label},
                                {QStringLiteral("connected"), app.connected},
                                {QStringLiteral("waiting"), app.slug == m_waitingFor}});
    return rows;
}

void ConnectionsModel::refresh()
{
    fetch();
}

QCoro::Task<void> ConnectionsModel::fetch()
{
    QPointer<ConnectionsModel> self(this);
    try {
        QList<AppConnection> linked = co_await m_backend.connections();
        if (!self)
            co_return;
        setLoadError({});
        setApps(std::move(linked));
    } catch (...) {
        if (self)
            setLoadError(DescribedError::describe(std::current_exception()));
    }
}

void ConnectionsModel::setApps(QList<AppConnection> linked)
{
    // The backend's apps as it lists them, then the offered ones it does not list.
    QList<AppConnection> apps = linked;
    for (const AppConnection &offered : offeredApps()) {
        const bool listed = std::any_of(linked.cbegin(), linked.cend(),
                                        [&](const auto &app) { return app.slug == offered.slug; });
        if (!listed)
            apps.append(offered);
    }
    for (const AppConnection &app : apps) {
        if (app.slug == m_waitingFor && app.connected)
            stopWaiting();
    }
    if (apps == m_apps)
        return;
    m_apps = std::move(apps);
    Q_EMIT appsChanged();
}

void ConnectionsModel::connectApp(const QString &slug)
{
    startConnecting(slug);
}

QCoro::Task<void> ConnectionsModel::startConnecting(QString slug)
{
    QPointer<ConnectionsModel> self(this);
    try {
        const QUrl url = co_await m_backend.connect(slug);
        if (!self)
            co_return;
        if (!urlOpener()(url)) {
            setLoadError(QStringLiteral("Couldn't open the browser: ") + url.toString());
            co_return;
        }
        setLoadError({});
        m_waitingFor = slug;
        m_waited = 0.0;
        m_poller = m_scheduler.repeat(pollInterval, [this] { poll(); });
        Q_EMIT appsChanged();
    } catch (...) {
        if (self)
            setLoadError(DescribedError::describe(std::current_exception()));
    }
}

void ConnectionsModel::poll()
{
    m_waited += pollInterval;
    if (m_waited >= pollLimit) {
        stopWaiting();
        return;
    }
    fetch();
}

void ConnectionsModel::stopWaiting()
{
    if (m_waitingFor.isEmpty())
        return;
    m_waitingFor.clear();
    m_poller = {};
    Q_EMIT appsChanged();
}

void ConnectionsModel::disconnectApp(const QString &slug)
{
    removeConnection(slug);
}

QCoro::Task<void> ConnectionsModel::removeConnection(QString slug)
{
    QPointer<ConnectionsModel> self(this);
    try {
        co_await m_backend.disconnect(slug);
    } catch (...) {
        // The list stays as it was: the error says why the app is still there.
        if (self)
            setLoadError(DescribedError::describe(std::current_exception()));
        co_return;
    }
    if (self)
        fetch();
}

void ConnectionsModel::setLoadError(const QString &error)
{
    if (m_loadError == error)
        return;
    m_loadError = error;
    Q_EMIT loadErrorChanged();
}
