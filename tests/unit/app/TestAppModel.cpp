#include "app/AppModel.h"
#include "app/BackendHealth.h"
#include "app/LaunchAtLoginManager.h"
#include "core/ManualClock.h"
#include "platform/LoginItem.h"
#include "platform/PermissionProbe.h"
#include "platform/SystemLog.h"

#include <QSettings>
#include <QSignalSpy>
#include <QTemporaryDir>
#include <QTest>

namespace {

class FakePermissionProbe : public PermissionProbe
{
public:
    MicrophoneAuthorization microphoneAuthorization() override { return mic; }
    bool accessibilityTrusted() override { return accessibility; }
    bool screenRecordingTrusted() override { return screenRecording; }

    MicrophoneAuthorization mic = MicrophoneAuthorization::authorized;
    bool accessibility = true;
    bool screenRecording = true;
};

class FakeBackendHealth : public BackendHealth
{
public:
    QCoro::Task<bool> health() override { co_return reachable; }

    bool reachable = true;
};

class FakeLoginItem : public LoginItem
{
public:
    bool isEnabled() const override { return enabled; }
    bool setEnabled(bool on, QString &error) override
    {
        if (!failure.isEmpty()) {
            error = failure;
            return false;
        }
        enabled = on;
        return true;
    }

    bool enabled = false;
    QString failure;
};

class RecordingSystemLog : public SystemLog
{
public:
    void write(const QString &message) override { lines << message; }

    QStringList lines;
};

// Everything an AppModel needs, with settings in a throwaway .ini file.
struct Fixture
{
    ManualClock clock{QDateTime(QDate(2026, 3, 1), QTime(21, 5, 9))};
    FakePermissionProbe permissions;
    FakeBackendHealth backend;
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
    void logLinesCarryWallTime();
    void logKeepsLastLines();
    void microphoneAuthorization_data();
    void microphoneAuthorization();
    void refreshSignalsOnlyOnChange();
    void launchAtLoginPrompt_data();
    void launchAtLoginPrompt();
    void offeredPromptSurvivesRevokedPermission();
    void setLaunchAtLogin_data();
    void setLaunchAtLogin();
    void activityText_data();
    void activityText();
};

void TestAppModel::logLinesCarryWallTime()
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

void TestAppModel::logKeepsLastLines()
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

void TestAppModel::microphoneAuthorization_data()
{
    QTest::addColumn<MicrophoneAuthorization>("state");
    QTest::addColumn<bool>("authorized");
    QTest::newRow("not determined") << MicrophoneAuthorization::notDetermined << false;
    QTest::newRow("denied") << MicrophoneAuthorization::denied << false;
    QTest::newRow("restricted") << MicrophoneAuthorization::restricted << false;
    QTest::newRow("authorized") << MicrophoneAuthorization::authorized << true;
}

void TestAppModel::microphoneAuthorization()
{
    QFETCH(MicrophoneAuthorization, state);
    QFETCH(bool, authorized);
    Fixture f;
    f.permissions.mic = state;
    f.model.refreshPermissions();
    QCOMPARE(f.model.micAuthorized(), authorized);
}

void TestAppModel::refreshSignalsOnlyOnChange()
{
    Fixture f;
    QSignalSpy mic(&f.model, &AppModel::micAuthorizedChanged);
    QSignalSpy accessibility(&f.model, &AppModel::accessibilityTrustedChanged);
    QSignalSpy screen(&f.model, &AppModel::screenRecordingTrustedChanged);
    QSignalSpy backend(&f.model, &AppModel::backendReachableChanged);

    f.model.refreshPermissions();
    f.model.refreshPermissions();
    QVERIFY(f.model.backendReachable());
    QCOMPARE(mic.count(), 1);
    QCOMPARE(accessibility.count(), 1);
    QCOMPARE(screen.count(), 1);
    QCOMPARE(backend.count(), 1);

    f.backend.reachable = false;
    f.permissions.accessibility = false;
    f.model.refreshPermissions();
    QVERIFY(!f.model.backendReachable());
    QVERIFY(!f.model.accessibilityTrusted());
    QCOMPARE(mic.count(), 1);
    QCOMPARE(accessibility.count(), 2);
    QCOMPARE(screen.count(), 1);
    QCOMPARE(backend.count(), 2);
}

void TestAppModel::launchAtLoginPrompt_data()
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

void TestAppModel::launchAtLoginPrompt()
{
    QFETCH(bool, properBundle);
    QFETCH(MicrophoneAuthorization, mic);
    QFETCH(bool, accessibility);
    QFETCH(bool, answered);
    QFETCH(bool, enabled);
    QFETCH(bool, offered);
    Fixture f;
    f.permissions.mic = mic;
    f.permissions.accessibility = accessibility;
    f.loginItem.enabled = enabled;
    if (answered)
        f.settings.setValue(LaunchAtLoginManager::promptAnsweredKey, true);
    QSignalSpy changed(&f.model, &AppModel::showLaunchAtLoginPromptChanged);

    f.model.refreshPermissions();
    f.model.evaluateLaunchAtLoginPrompt(properBundle);
    QCOMPARE(f.model.showLaunchAtLoginPrompt(), offered);
    QCOMPARE(changed.count(), offered ? 1 : 0);
    QCOMPARE(f.model.launchAtLoginEnabled(), enabled);
}

void TestAppModel::offeredPromptSurvivesRevokedPermission()
{
    Fixture f;
    QSignalSpy changed(&f.model, &AppModel::showLaunchAtLoginPromptChanged);
    f.model.refreshPermissions();
    f.model.evaluateLaunchAtLoginPrompt(true);
    QVERIFY(f.model.showLaunchAtLoginPrompt());

    f.permissions.mic = MicrophoneAuthorization::denied;
    f.model.refreshPermissions();
    f.model.evaluateLaunchAtLoginPrompt(true);
    QVERIFY(f.model.showLaunchAtLoginPrompt());
    QCOMPARE(changed.count(), 1);
}

void TestAppModel::setLaunchAtLogin_data()
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

void TestAppModel::setLaunchAtLogin()
{
    QFETCH(bool, on);
    QFETCH(bool, initiallyEnabled);
    QFETCH(QString, failure);
    QFETCH(bool, enabled);
    QFETCH(QStringList, messages);
    Fixture f;
    f.loginItem.enabled = initiallyEnabled;
    f.loginItem.failure = failure;

    f.model.setLaunchAtLogin(on);
    QCOMPARE(f.systemLog.lines, messages);
    QCOMPARE(f.model.launchAtLoginEnabled(), enabled);
    QCOMPARE(f.loginItem.enabled, enabled);

    // The answer is on disk, not only in this QSettings object's cache.
    const QSettings reread(f.settings.fileName(), QSettings::IniFormat);
    QCOMPARE(reread.value(LaunchAtLoginManager::promptAnsweredKey).toBool(), true);
}

void TestAppModel::activityText_data()
{
    QTest::addColumn<Activity>("activity");
    QTest::addColumn<QString>("text");
    QTest::newRow("idle") << Activity::idle << "Idle";
    QTest::newRow("recording") << Activity::recording << "Recording…";
    QTest::newRow("transcribing") << Activity::transcribing << "Transcribing…";
}

void TestAppModel::activityText()
{
    QFETCH(Activity, activity);
    QFETCH(QString, text);
    Fixture f;
    f.model.setActivity(Activity::transcribing);
    f.model.setActivity(activity);
    QCOMPARE(f.model.activityText(), text);
}

QTEST_GUILESS_MAIN(TestAppModel)
#include "TestAppModel.moc"
