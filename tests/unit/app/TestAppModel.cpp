#include "support/FakePlatform.h"

#include "app/AppModel.h"
#include "app/BackendHealth.h"
#include "app/LaunchAtLoginManager.h"
#include "core/ManualClock.h"
#include "platform/LoginItem.h"
#include "platform/PermissionProbe.h"
#include "platform/SystemLog.h"

#include <QFile>
#include <QSettings>
#include <QSignalSpy>
#include <QTemporaryDir>
#include <QTest>

#include <utility>

namespace {

// Everything an AppModel needs, with settings in a throwaway .ini file.
struct Fixture
{
    ManualClock clock{QDateTime(QDate(2026, 3, 1), QTime(21, 5, 9))};
    FakePermissions permissions;
    FakeHealth backend;
    FakeLoginItem loginItem;
    QTemporaryDir dir;
    QSettings settings{dir.filePath(QStringLiteral("settings.ini")), QSettings::IniFormat};
    LaunchAtLoginManager launchAtLogin{loginItem, settings};
    RecordingSystemLog systemLog;
    AppModel model{clock, permissions, backend, launchAtLogin, systemLog};
};

} // namespace

class TestAppModel : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void logLinesCarryWallTime()
    {
        Fixture f;
        f.model.log(QStringLiteral("hi"));
        f.clock.advance(3600.0 * 12 + 1.0);
        f.model.log(QStringLiteral("next morning"));

        QCOMPARE(f.model.logLines(), (QStringList{QStringLiteral("[21:05:09] hi"),
                                                  QStringLiteral("[09:05:10] next morning")}));
        QCOMPARE(f.systemLog.lines,
                 (QStringList{QStringLiteral("hi"), QStringLiteral("next morning")}));
    }

    void logKeepsLastLines()
    {
        Fixture f;
        QSignalSpy changed(&f.model, &AppModel::logLinesChanged);
        for (int i = 1; i <= AppModel::maxLogLines + 1; ++i) {
            f.model.log(QStringLiteral("line %1").arg(i));
            QVERIFY(f.model.logLines().size() <= AppModel::maxLogLines);
        }
        QCOMPARE(changed.count(), AppModel::maxLogLines + 1);
        const QStringList lines = f.model.logLines();
        QCOMPARE(lines.size(), AppModel::maxLogLines);
        QCOMPARE(lines.first(), QStringLiteral("[21:05:09] line 2"));
        QCOMPARE(lines.last(), QStringLiteral("[21:05:09] line 201"));
        QCOMPARE(f.systemLog.lines.size(), AppModel::maxLogLines + 1);
    }

    void refreshPermissions()
    {
        Fixture f;
        QSignalSpy mic(&f.model, &AppModel::micAuthorizedChanged);
        QSignalSpy accessibility(&f.model, &AppModel::accessibilityTrustedChanged);
        QSignalSpy backend(&f.model, &AppModel::backendReachableChanged);
        using enum MicrophoneAuthorization;
        for (const auto &[state, expected] : {std::pair{notDetermined, false},
                                              {denied, false},
                                              {restricted, false},
                                              {authorized, true}}) {
            f.permissions.microphone = state;
            f.model.refreshPermissions();
            QCOMPARE(f.model.micAuthorized(), expected);
        }
        f.model.refreshPermissions();
        QVERIFY(f.model.backendReachable());
        QCOMPARE(mic.count(), 1);
        QCOMPARE(accessibility.count(), 1);
        QCOMPARE(backend.count(), 1);

        f.backend.reachable = false;
        f.permissions.accessibility = false;
        f.model.refreshPermissions();
        QVERIFY(!f.model.backendReachable());
        QVERIFY(!f.model.accessibilityTrusted());
        QCOMPARE(mic.count(), 1);
        QCOMPARE(accessibility.count(), 2);
        QCOMPARE(backend.count(), 2);
    }

    void launchAtLoginPrompt_data()
    {
        QTest::addColumn<bool>("properBundle");
        QTest::addColumn<MicrophoneAuthorization>("mic");
        QTest::addColumn<bool>("accessibility");
        QTest::addColumn<bool>("answered");
        QTest::addColumn<bool>("enabled");
        QTest::addColumn<bool>("offered");
        const auto yes = MicrophoneAuthorization::authorized;
        QTest::newRow("everything in place") << true << yes << true << false << false << true;
        QTest::newRow("not a proper bundle") << false << yes << true << false << false << false;
        QTest::newRow("microphone undecided")
            << true << MicrophoneAuthorization::notDetermined << true << false << false << false;
        QTest::newRow("not trusted") << true << yes << false << false << false << false;
        QTest::newRow("already answered") << true << yes << true << true << false << false;
        QTest::newRow("already a login item") << true << yes << true << false << true << false;
    }

    void launchAtLoginPrompt()
    {
        QFETCH(bool, properBundle);
        QFETCH(MicrophoneAuthorization, mic);
        QFETCH(bool, accessibility);
        QFETCH(bool, answered);
        QFETCH(bool, enabled);
        QFETCH(bool, offered);
        Fixture f;
        f.permissions.microphone = mic;
        f.permissions.accessibility = accessibility;
        f.loginItem.enabled = enabled;
        if (answered)
            f.settings.setValue(LaunchAtLoginManager::promptAnsweredKey, true);
        QSignalSpy changed(&f.model, &AppModel::showLaunchAtLoginPromptChanged);

        f.model.refreshPermissions();
        f.model.evaluateLaunchAtLoginPrompt(properBundle);
        f.model.evaluateLaunchAtLoginPrompt(properBundle);
        QCOMPARE(f.model.showLaunchAtLoginPrompt(), offered);
        QCOMPARE(f.model.launchAtLoginEnabled(), enabled);

        // Once offered, the prompt stays up even if a permission is revoked meanwhile.
        f.permissions.microphone = MicrophoneAuthorization::denied;
        f.model.refreshPermissions();
        f.model.evaluateLaunchAtLoginPrompt(properBundle);
        QCOMPARE(f.model.showLaunchAtLoginPrompt(), offered);
        QCOMPARE(changed.count(), offered ? 1 : 0);
    }

    void setLaunchAtLogin_data()
    {
        QTest::addColumn<bool>("on");
        QTest::addColumn<bool>("initiallyEnabled");
        QTest::addColumn<QString>("failure");
        QTest::addColumn<bool>("enabled");
        QTest::addColumn<QStringList>("messages");
        QTest::newRow("enable") << true << false << QString() << true
                                << QStringList{QStringLiteral("Launch at login enabled.")};
        QTest::newRow("disable") << false << true << QString() << false
                                 << QStringList{QStringLiteral("Launch at login disabled.")};
        QTest::newRow("enable fails")
            << true << false << QStringLiteral("Couldn't create the folder /x.") << false
            << QStringList{QStringLiteral("Launch at login failed: Couldn't create the folder /x."),
                           QStringLiteral("Launch at login disabled.")};
        QTest::newRow("disable fails")
            << false << true << QStringLiteral("Permission denied") << true
            << QStringList{QStringLiteral("Launch at login failed: Permission denied"),
                           QStringLiteral("Launch at login enabled.")};
    }

    void setLaunchAtLogin()
    {
        QFETCH(bool, on);
        QFETCH(bool, initiallyEnabled);
        QFETCH(QString, failure);
        QFETCH(bool, enabled);
        QFETCH(QStringList, messages);
        Fixture f;
        f.loginItem.enabled = initiallyEnabled;
        if (!failure.isEmpty())
            f.loginItem.failure = failure;

        f.model.setLaunchAtLogin(on);
        QCOMPARE(f.systemLog.lines, messages);
        QCOMPARE(f.model.launchAtLoginEnabled(), enabled);
        QCOMPARE(f.loginItem.enabled, enabled);

        // The answer is on disk at once, not only in QSettings' in-process cache.
        QFile file(f.settings.fileName());
        QVERIFY(file.open(QIODevice::ReadOnly));
        QVERIFY(file.readAll().contains("launchAtLoginPromptAnswered=true"));
    }

    void activityText()
    {
        Fixture f;
        QCOMPARE(f.model.activityText(), QStringLiteral("Idle"));
        f.model.setActivity(Activity::recording);
        QCOMPARE(f.model.activityText(), QStringLiteral("Recording…"));
        f.model.setActivity(Activity::transcribing);
        QCOMPARE(f.model.activityText(), QStringLiteral("Transcribing…"));
        f.model.setActivity(Activity::idle);
        QCOMPARE(f.model.activityText(), QStringLiteral("Idle"));
    }
};

QTEST_GUILESS_MAIN(TestAppModel)
#include "TestAppModel.moc"
