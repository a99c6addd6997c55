#pragma once

#include "audio/MeetingRecorder.h"
#include "backend/Backend.h"
#include "core/ManualClock.h"
#include "core/ManualScheduler.h"
#include "state/AppModel.h"
#include "state/LaunchAtLoginManager.h"
#include "stores/AssistantStore.h"
#include "stores/AuthStore.h"
#include "stores/DictionaryStore.h"
#include "stores/HistoryStore.h"
#include "stores/MeetingStore.h"
#include "stores/SettingsStore.h"
#include "support/FakeBackend.h"
#include "support/FakeBackendServer.h"
#include "support/FakeKeychain.h"
#include "support/FakePlatform.h"
#include "ui/MainWindow.h"

#include <QSettings>
#include <QTemporaryDir>
#include <QUrl>

#include <memory>

class QQuickItem;
class QQuickWindow;

// Fails with every visible text listed when `text` is not on show under `root`.
#define VERIFY_TEXT(root, text)                                                                    \
    QVERIFY2(MainWindowFixture::findText(root, text),                                              \
             qPrintable(QStringLiteral("missing \"%1\" among:\n").arg(text) +                      \
                        MainWindowFixture::visibleTexts(root).join('\n')))

// The main window on the test desktop, signed in, with every store on a fake backend
// that holds a little of everything, and the application model on fake permissions.
class MainWindowFixture
{
public:
    MainWindowFixture();
    ~MainWindowFixture();

    // Signs in and shows the window; false when something could not be set up.
    bool start();

    QQuickWindow *window() const;
    // The page on show, once the loader has it.
    QQuickItem *page() const;
    // Selects page `id` and waits for it to load.
    QQuickItem *showPage(int id);
    // The first visible item under `root` whose "text" is `text`.
    static QQuickItem *findText(QQuickItem *root, const QString &text);
    // The first item under `root` (itself included) with this objectName, visible or not.
    static QQuickItem *findItem(QQuickItem *root, const QString &objectName);
    // Every visible text under `root`, for failure messages.
    static QStringList visibleTexts(QQuickItem *root);
    // Writes the window to TEST_ARTIFACT_DIR/<name>.png.
    void saveScreenshot(const QString &name) const;

    FakeBackendServer server;
    ManualClock clock;
    ManualScheduler scheduler{clock};
    QTemporaryDir dir;
    std::unique_ptr<Backend> backend;
    FakeKeychain keychain;
    std::unique_ptr<AuthStore> auth;
    std::unique_ptr<HistoryStore> history;
    std::unique_ptr<DictionaryStore> dictionary;
    std::unique_ptr<MeetingStore> meetings;
    std::unique_ptr<AssistantStore> assistant;
    std::unique_ptr<SettingsStore> settings;
    std::unique_ptr<MeetingRecorder> recorder;

    FakePermissions permissions;
    // The model's health checks; the rest of the backend is the fake server.
    FakeBackend health;
    FakeLoginItem loginItem;
    RecordingSystemLog systemLog;
    std::unique_ptr<QSettings> defaults;
    std::unique_ptr<LaunchAtLoginManager> launchAtLogin;
    std::unique_ptr<AppModel> model;
    QList<QUrl> openedUrls;

    std::unique_ptr<MainWindow> mainWindow;

private:
    void scriptBackend();
};
