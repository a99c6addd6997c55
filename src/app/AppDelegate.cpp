#include "app/AppDelegate.h"

#include "app/AppModel.h"
#include "app/BackendAdapter.h"
#include "app/LaunchAtLoginManager.h"
#include "app/TrayStatusItem.h"
#include "backend/Backend.h"
#include "core/QtScheduler.h"
#include "core/SystemClock.h"
#include "stores/AuthStore.h"

#include <QDBusConnection>
#include <QSettings>

struct AppDelegate::Private
{
    explicit Private(PlatformServices platform)
        : platform(platform), defaults(QStringLiteral("Ovrin"), QStringLiteral("Ovrin")),
          launchAtLogin(platform.loginItem, defaults), backend(Backend::shared()),
          model(clock, platform.permissions, backend, launchAtLogin, platform.systemLog)
    {}

    PlatformServices platform;
    SystemClock clock;
    QtScheduler scheduler;
    QSettings defaults;
    LaunchAtLoginManager launchAtLogin;
    BackendAdapter backend;
    AppModel model;
    std::unique_ptr<TrayStatusItem> statusItem;
    TimerHandle permissionTimer;
};

AppDelegate::AppDelegate(PlatformServices platform, QObject *parent)
    : QObject(parent), d(std::make_unique<Private>(platform))
{}

AppDelegate::~AppDelegate() = default;

AppModel &AppDelegate::model()
{
    return d->model;
}

void AppDelegate::applicationDidFinishLaunching()
{
    setupStatusItem();
    logEnvironment();
    d->model.log(QStringLiteral("Launched."));
    restoreSignIn();
    d->model.refreshPermissions();
    startPermissionPolling();
}

void AppDelegate::setupStatusItem()
{
    d->statusItem = std::make_unique<TrayStatusItem>();
    connect(d->statusItem.get(), &TrayStatusItem::quitRequested, this, &AppDelegate::quitRequested);
    d->statusItem->show();
}

void AppDelegate::logEnvironment()
{
    // Neither is fatal: the tray icon appears when a tray host starts, and without a session
    // bus only accessibility and the keychain are unavailable.
    if (!TrayStatusItem::isTrayAvailable())
        d->model.log(QStringLiteral(
            "No system tray found — the Ovrin icon will appear when a tray starts."));
    if (!QDBusConnection::sessionBus().isConnected())
        d->model.log(QStringLiteral(
            "No D-Bus session bus — accessibility and the keychain are unavailable."));
}

void AppDelegate::restoreSignIn()
{
    AuthStore &auth = AuthStore::shared();
    connect(&auth, &AuthStore::keychainUnavailable, this,
            [this](const QString &message) { d->model.log(message); });
    auth.restore();
}

void AppDelegate::startPermissionPolling()
{
    d->permissionTimer =
        d->scheduler.repeat(permissionPollSeconds, [this] { d->model.refreshPermissions(); });
}
