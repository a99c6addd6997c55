// Sign-in throttling: per address, for a minute, and forgotten afterwards.
#include "AccountService.h"
#include "Database.h"
#include "HttpError.h"
#include "StatusOf.h"

#include <QTemporaryDir>
#include <QTest>

#include <functional>

class TestAccountService : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void throttlesEachAddressForAMinute()
    {
        QTemporaryDir dir;
        Database database(dir.filePath(QStringLiteral("t.db")).toStdString());
        auto now = std::chrono::steady_clock::time_point() + std::chrono::hours(1);
        AccountService accounts(database, [&now] { return now; });
        accounts.registerUser("ada@example.org", "correct horse", "Ada");
        accounts.registerUser("bob@example.org", "battery staple", "Bob");

        for (int i = 0; i < AccountService::maxFailures; ++i)
            QCOMPARE(statusOf([&] { accounts.login("ada@example.org", "wrong"); }), 401);
        // Refused even with the right password, and whatever the case of the address.
        QCOMPARE(statusOf([&] { accounts.login("ADA@example.org", "correct horse"); }), 429);
        QCOMPARE(statusOf([&] { accounts.login("bob@example.org", "battery staple"); }), 200);

        now += AccountService::failureWindow + std::chrono::seconds(1);
        QCOMPARE(statusOf([&] { accounts.login("ada@example.org", "correct horse"); }), 200);
    }

    void forgetsAddressesOnceTheirMinuteIsOver()
    {
        QTemporaryDir dir;
        Database database(dir.filePath(QStringLiteral("t.db")).toStdString());
        auto now = std::chrono::steady_clock::time_point() + std::chrono::hours(1);
        AccountService accounts(database, [&now] { return now; });
        for (int i = 0; i < 300; ++i)
            QCOMPARE(
                statusOf([&] { accounts.login("nobody" + std::to_string(i) + "@x.org", "g"); }),
                401);
        QCOMPARE(accounts.trackedFailures(), std::size_t(300));

        now += AccountService::failureWindow + std::chrono::seconds(1);
        QCOMPARE(statusOf([&] { accounts.login("late@example.org", "guess"); }), 401);
        QCOMPARE(accounts.trackedFailures(), std::size_t(1));
    }
};

QTEST_GUILESS_MAIN(TestAccountService)
#include "TestAccountService.moc"
