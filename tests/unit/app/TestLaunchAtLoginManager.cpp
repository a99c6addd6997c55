#include "app/LaunchAtLoginManager.h"
#include "platform/LoginItem.h"

#include <QSettings>
#include <QTemporaryDir>
#include <QTest>

namespace {

class FakeLoginItem : public LoginItem
{
public:
    bool isEnabled() const override { return enabled; }
    bool setEnabled(bool on, QString &) override
    {
        enabled = on;
        return true;
    }

    bool enabled = false;
};

} // namespace

class TestLaunchAtLoginManager : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void promptOfferedUntilAnsweredOrEnabled();
};

void TestLaunchAtLoginManager::promptOfferedUntilAnsweredOrEnabled()
{
    QTemporaryDir dir;
    QVERIFY(dir.isValid());
    const QString path = dir.filePath(QStringLiteral("settings.ini"));
    FakeLoginItem loginItem;
    {
        QSettings settings(path, QSettings::IniFormat);
        LaunchAtLoginManager manager(loginItem, settings);
        QVERIFY(manager.shouldOfferPrompt());

        // Enabled some other way (by hand, or by an earlier version).
        loginItem.enabled = true;
        QVERIFY(!manager.shouldOfferPrompt());
        loginItem.enabled = false;
        QVERIFY(manager.shouldOfferPrompt());

        manager.markPromptAnswered();
        QVERIFY(!manager.shouldOfferPrompt());
    }
    // The answer holds across restarts.
    QSettings settings(path, QSettings::IniFormat);
    LaunchAtLoginManager manager(loginItem, settings);
    QVERIFY(!manager.shouldOfferPrompt());
}

QTEST_GUILESS_MAIN(TestLaunchAtLoginManager)
#include "TestLaunchAtLoginManager.moc"
