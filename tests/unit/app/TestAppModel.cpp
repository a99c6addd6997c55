#include "support/FakeBackend.h"

#include "core/ManualClock.h"
#include "state/AppModel.h"
#include "state/LaunchAtLoginManager.h"

#include <QFile>
#include <QSettings>
#include <QSignalSpy>
#include <QTemporaryDir>
#include <QTest>

struct Fixture
{
    ManualClock clock{QDateTime(QDate(2026, 3, 1), QTime(21, 5, 9))};
    FakePermissions permissions;
    FakeBackend backend;
    FakeLoginItem loginItem;
    QTemporaryDir dir;
    QSettings settings{dir.filePath(QStringLiteral("settings.ini")), QSettings::IniFormat};
    LaunchAtLoginManager launchAtLogin{loginItem, settings};
    RecordingSystemLog systemLog;
    AppModel model{clock, permissions, backend, launchAtLogin, systemLog};
};

class TestAppModel : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void logKeepsLastLinesWithWallTime()
    {
        Fixture f;
        for (int i = 1; i <= AppModel::maxLogLines; ++i)
            f.model.log(QStringLiteral("line %1").arg(i));
        f.clock.advance(3600.0 * 12 + 1.0);
        f.model.log(QStringLiteral("next morning"));

        // 24-hour time without a date; the 201st line pushes out the first.
        QCOMPARE(f.model.logLines().size(), AppModel::maxLogLines);
        QCOMPARE(f.model.logLines().first(), "[21:05:09] line 2");
        QCOMPARE(f.model.logLines().last(), "[09:05:10] next morning");
        QCOMPARE(f.systemLog.lines.last(), "next morning");
    }

    void backendReachableFollowsHealth()
    {
        Fixture f;
        QSignalSpy changed(&f.model, &AppModel::backendReachableChanged);
        f.model.refreshPermissions();
        QVERIFY(f.model.backendReachable());
        f.backend.reachable = false;
        f.model.refreshPermissions();
        QVERIFY(!f.model.backendReachable());
        QCOMPARE(changed.count(), 2);
    }

    void launchAtLoginPrompt_data()
    {
        // Each row takes away one condition for offering the prompt.
        QTest::addColumn<QString>("blocker");
        for (const char *blocker : {"none", "not a proper launch", "microphone undecided",
                                    "not trusted", "already answered", "already a login item"})
            QTest::newRow(blocker) << QString::fromLatin1(blocker);
    }

    void launchAtLoginPrompt()
    {
        QFETCH(QString, blocker);
        Fixture f;
        using enum MicrophoneAuthorization;
        f.permissions.microphone = blocker == "microphone undecided" ? notDetermined : authorized;
        f.permissions.accessibility = blocker != "not trusted";
        f.loginItem.enabled = blocker == "already a login item";
        if (blocker == "already answered")
            f.settings.setValue(LaunchAtLoginManager::promptAnsweredKey, true);
        const bool properLaunch = blocker != "not a proper launch";
        const bool offered = blocker == "none";
        QSignalSpy changed(&f.model, &AppModel::showLaunchAtLoginPromptChanged);

        f.model.refreshPermissions();
        f.model.evaluateLaunchAtLoginPrompt(properLaunch);
        f.model.evaluateLaunchAtLoginPrompt(properLaunch);
        QCOMPARE(f.model.micAuthorized(), blocker != "microphone undecided");
        QCOMPARE(f.model.showLaunchAtLoginPrompt(), offered);

        // Once offered, the prompt stays up even if a permission is revoked meanwhile.
        f.permissions.microphone = denied;
        f.model.refreshPermissions();
        f.model.evaluateLaunchAtLoginPrompt(properLaunch);
        QCOMPARE(f.model.showLaunchAtLoginPrompt(), offered);
        QCOMPARE(changed.count(), offered ? 1 : 0);
    }

    void setLaunchAtLogin_data()
    {
        QTest::addColumn<bool>("on");
        QTest::addColumn<bool>("fails");
        QTest::addColumn<QStringList>("messages");
        const QString enabled = QStringLiteral("Launch at login enabled.");
        const QString disabled = QStringLiteral("Launch at login disabled.");
        const QString failure = QStringLiteral("Launch at login failed: Permission denied");
        QTest::newRow("enable") << true << false << QStringList{enabled};
        QTest::newRow("enable fails") << true << true << QStringList{failure, disabled};
        QTest::newRow("disable fails") << false << true << QStringList{failure, enabled};
    }

    void setLaunchAtLogin()
    {
        QFETCH(bool, on);
        QFETCH(bool, fails);
        QFETCH(QStringList, messages);
        Fixture f;
        // Starts opposite to `on`, where a failed change leaves it.
        f.loginItem.enabled = !on;
        if (fails)
            f.loginItem.failure = QStringLiteral("Permission denied");

        f.model.setLaunchAtLogin(on);
        QCOMPARE(f.systemLog.lines, messages);
        QCOMPARE(f.model.launchAtLoginEnabled(), on != fails);
        QVERIFY(!f.model.showLaunchAtLoginPrompt()); // answered, whatever the outcome

        // The answer is on disk at once, not only in QSettings' in-process cache.
        QFile file(f.settings.fileName());
        QVERIFY(file.open(QIODevice::ReadOnly));
        QVERIFY(file.readAll().contains("launchAtLoginPromptAnswered=true"));
    }
};

QTEST_GUILESS_MAIN(TestAppModel)
#include "TestAppModel.moc"
