#pragma once

#include "backend/AppConnection.h"
#include "core/TimerHandle.h"

#include <QCoro/QCoroTask>
#include <QObject>
#include <QUrl>
#include <QVariantList>
#include <QtQml/qqmlregistration.h>

#include <functional>

class Backend;
class Scheduler;

// The connections page: the apps the assistant can be linked to. Connecting opens the
// provider's sign-in page in the browser, then asks the backend every few seconds until
// the app shows as connected (or two minutes pass).
class ConnectionsModel : public QObject
{
    Q_OBJECT
    QML_ELEMENT
    // [{slug, label, connected, waiting}]: the offered apps, with the backend's own first.
    Q_PROPERTY(QVariantList apps READ apps NOTIFY appsChanged)
    Q_PROPERTY(QString loadError READ loadError NOTIFY loadErrorChanged)
    // The app whose sign-in page is open and awaited; empty when none is.
    Q_PROPERTY(QString waitingFor READ waitingFor NOTIFY appsChanged)
public:
    static constexpr double pollInterval = 3.0;
    static constexpr double pollLimit = 120.0;
    using UrlOpener = std::function<bool(const QUrl &)>;

    explicit ConnectionsModel(QObject *parent = nullptr);
    ConnectionsModel(Backend &backend, Scheduler &scheduler, QObject *parent = nullptr);
    ~ConnectionsModel() override;

    // For models made by QML; both must outlive them. Defaults: a Qt timer, the browser.
    static void setDefaultScheduler(Scheduler *scheduler);
    static void setUrlOpener(UrlOpener opener);
    // The apps offered even when the backend links none yet.
    static QList<AppConnection> offeredApps();

    QVariantList apps() const;
    const QString &loadError() const { return m_loadError; }
    const QString &waitingFor() const { return m_waitingFor; }

    Q_INVOKABLE void refresh();
    Q_INVOKABLE void connectApp(const QString &slug);
    Q_INVOKABLE void disconnectApp(const QString &slug);

Q_SIGNALS:
    void appsChanged();
    void loadErrorChanged();

private:
    QCoro::Task<void> fetch();
    QCoro::Task<void> startConnecting(QString slug);
    QCoro::Task<void> removeConnection(QString slug);
    void poll();
    void stopWaiting();
    void setApps(QList<AppConnection> linked);
    void setLoadError(const QString &error);

    Backend &m_backend;
    Scheduler &m_scheduler;
    QList<AppConnection> m_apps;
    QString m_loadError;
    QString m_waitingFor;
    double m_waited = 0.0;
    TimerHandle m_poller;
};
