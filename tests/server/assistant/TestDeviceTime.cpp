// Reading the device's "now", converting local and UTC times, and the texts made from them.
#include "AssistantRig.h"
#include "DeviceTime.h"

#include <QTest>

using namespace std::chrono;

namespace {

QString text(const std::string &value)
{
    return QString::fromStdString(value);
}

} // namespace

class TestDeviceTime : public QObject
{
    Q_OBJECT
private Q_SLOTS:
    void parse_data()
    {
        QTest::addColumn<QString>("now");
        QTest::addColumn<QString>("utc");
        QTest::addColumn<int>("offset");
        QTest::addColumn<QString>("zone");
        QTest::newRow("the client's form")
            << AssistantRig::berlin << "2026-11-15T17:23:30.000Z" << 60 << "Europe/Berlin";
        QTest::newRow("behind UTC by 3:30, across midnight")
            << "Sunday, 15 November 2026, 11:30 PM (America/St_Johns, -03:30)"
            << "2026-11-16T03:00:00.000Z" << -210 << "America/St_Johns";
        QTest::newRow("midnight hour, 24-hour clock")
            << "Monday, 16 November 2026, 00:05 (Asia/Tokyo, +09:00)"
            << "2026-11-15T15:05:00.000Z" << 540 << "Asia/Tokyo";
        QTest::newRow("12 AM") << "Monday, 16 November 2026, 12:05 AM (UTC, +00:00)"
                               << "2026-11-16T00:05:00.000Z" << 0 << "UTC";
        // Without an offset the device's wall clock against ours gives it.
        QTest::newRow("no offset") << "Sunday, 15 November 2026, 10:53 PM"
                                   << "2026-11-15T17:23:30.000Z" << 330 << "UTC+05:30";
        QTest::newRow("garbage") << "yesterday-ish"
                                 << "2026-11-15T17:23:30.000Z" << 0 << "UTC";
        QTest::newRow("empty") << ""
                               << "2026-11-15T17:23:30.000Z" << 0 << "UTC";
        QTest::newRow("no such date")
            << "Tuesday, 31 February 2026, 6:23 PM (Europe/Berlin, +01:00)"
            << "2026-11-15T17:23:30.000Z" << 0 << "UTC";
        QTest::newRow("13 PM") << "Sunday, 15 November 2026, 13:23 PM (Europe/Berlin, +01:00)"
                               << "2026-11-15T17:23:30.000Z" << 0 << "UTC";
    }

    void parse()
    {
        QFETCH(QString, now);
        QFETCH(QString, utc);
        QFETCH(int, offset);
        QFETCH(QString, zone);
        const DeviceTime time = DeviceTime::parse(now.toStdString(), AssistantRig::clock());
        QCOMPARE(text(DeviceTime::isoUtc(time.utc())), utc);
        QCOMPARE(int(time.offset().count()), offset);
        QCOMPARE(text(time.zone()), zone);
        QCOMPARE(time.reported(), zone != "UTC" || now.contains("UTC"));
        QCOMPARE(time.toUtc(time.local()), time.utc());
    }

    void formats()
    {
        const DeviceTime time = DeviceTime::parse(AssistantRig::berlin, AssistantRig::clock());
        QCOMPARE(text(time.describeNow()),
                 "Sunday, 15 November 2026, 6:23 PM (Europe/Berlin, +01:00)");
        const DeviceTime::Local today = floor<days>(time.local());
        QCOMPARE(text(DeviceTime::clockTime(today)), "12:00 AM");
        QCOMPARE(text(DeviceTime::clockTime(today + hours{12} + minutes{5})), "12:05 PM");
        QCOMPARE(text(time.relativeDayAndTime(today + days{1} + hours{9})), "tomorrow at 9:00 AM");
        QCOMPARE(text(time.relativeDay(today - days{1})), "yesterday");
        QCOMPARE(text(time.relativeDay(today + days{5})), "on Friday, 20 November");
        QCOMPARE(text(time.relativeDay(today + days{47})), "on Friday, 1 January 2027");
        QCOMPARE(text(DeviceTime::offsetText(minutes{-210})), "-03:30");
    }

    void isoRoundTrip()
    {
        const std::optional<DeviceTime::Utc> read =
            DeviceTime::parseIsoUtc("2026-02-28T23:59:59.5Z");
        QVERIFY(read);
        QCOMPARE(text(DeviceTime::isoUtc(*read)), "2026-02-28T23:59:59.500Z");
        QCOMPARE(text(DeviceTime::isoUtc(*DeviceTime::parseIsoUtc("2026-11-15T17:23:00Z"))),
                 "2026-11-15T17:23:00.000Z");
        for (const char *bad :
             {"2026-11-15 17:23:00Z", "2026-11-15T17:23:00", "2026-02-30T00:00:00Z", "1763227380"})
            QVERIFY2(!DeviceTime::parseIsoUtc(bad), bad);
    }
};

QTEST_GUILESS_MAIN(TestDeviceTime)
#include "TestDeviceTime.moc"
