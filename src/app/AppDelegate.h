#pragma once

#include "app/PlatformServices.h"
#include "core/TimerHandle.h"

#include <QObject>

#include <memory>

class AppModel;
class TrayStatusItem;

// Owns the long-lived objects of the application and runs its launch sequence.
class AppDelegate : public QObject
{
    Q_OBJECT
public:
    static constexpr double permissionPollSeconds = 2.0;

    explicit AppDelegate(PlatformServices platform, QObject *parent = nullptr);
    ~AppDelegate() override;

    void applicationDidFinishLaunching();
    AppModel &model();

Q_SIGNALS:
    void quitRequested();

private:
    void setupStatusItem();
    void logEnvironment();
    // The stored sign-in, checked with the backend; the login page shows until it is.
    void restoreSignIn();
    void startPermissionPolling();

    struct Private;
    std::unique_ptr<Private> d;
};
