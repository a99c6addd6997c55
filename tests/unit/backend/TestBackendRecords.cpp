// Strict record decoding, the two date forms, "now" and the user's initials.
#include "backend/AssistantTask.h"
#include "backend/AuthUser.h"
#include "backend/DecodingError.h"
#include "backend/DeviceNow.h"
#include "backend/HistoryEntry.h"
#include "backend/IsoDate.h"
#include "backend/Meeting.h"
#include "backend/Reminder.h"

#include <QJsonDocument>
#include <QTest>

namespace {

QJsonValue json(const char *text)
{
    return QJsonDocument::fromJson(text).object();
}

template <class T> QString decodeFailure(const char *text)
{
    try {
        T::fromJson(json(text));
    } catch (const DecodingError &e) {
        return e.description();
    }
    return {};
}

} // namespace

class TestBackendRecords : public QObject
{
    Q_OBJECT
private Q_SLOTS:
    void isoDates_data()
    {
        QTest::addColumn<QString>("text");
        QTest::addColumn<QDateTime>("expected");
        const QDateTime utc(QDate(2026, 11, 15), QTime(18, 23, 44), Qt::UTC);
        QTest::newRow("fractional") << "2026-11-15T18:23:44.123Z" << utc.addMSecs(123);
        QTest::newRow("whole seconds") << "2026-11-15T18:23:44Z" << utc;
        QTest::newRow("offset") << "2026-11-15T19:23:44+01:00" << utc;
        QTest::newRow("one digit") << "2026-11-15T18:23:44.5Z" << utc.addMSecs(500);
        QTest::newRow("no zone") << "2026-11-15T18:23:44" << QDateTime();
        QTest::newRow("bare date") << "2026-11-15" << QDateTime();
        QTest::newRow("empty fraction") << "2026-11-15T18:23:44.Z" << QDateTime();
        QTest::newRow("month 13") << "2026-13-15T18:23:44Z" << QDateTime();
        QTest::newRow("zone no colon") << "2026-11-15T18:23:44+0100" << QDateTime();
    }

    void isoDates()
    {
        QFETCH(QString, text);
        QFETCH(QDateTime, expected);
        const auto parsed = IsoDate::parse(text);
        QCOMPARE(parsed.has_value(), expected.isValid());
        if (parsed)
            QCOMPARE(*parsed, expected);
    }

    void isoDateRoundTrip()
    {
        const QDateTime date(QDate(2026, 1, 2), QTime(3, 4, 5, 6), Qt::UTC);
        QCOMPARE(IsoDate::format(date), QStringLiteral("2026-01-02T03:04:05.006Z"));
        QCOMPARE(IsoDate::parse(IsoDate::format(date)), date);
    }

    void strictRecords_data()
    {
        QTest::addColumn<QString>("failure");
        QTest::addColumn<QString>("expected");
        const char *user = R"({"id":"u","email":"e","name":"n","picture":null,"provider":"email"})";
        QTest::newRow("user null picture")
            << decodeFailure<AuthUser>(user) << "The backend's reply lacks \"picture\".";
        QTest::newRow("unknown kind")
            << decodeFailure<HistoryEntry>(
                   R"({"id":"1","date":"2026-11-15T18:23:44Z","kind":"shout","text":"t"})")
            << "The backend's reply has an unknown \"kind\": shout.";
        QTest::newRow("date without zone")
            << decodeFailure<HistoryEntry>(
                   R"({"id":"1","date":"2026-11-15T18:23:44","kind":"answer","text":"t"})")
            << "Unrecognized date: 2026-11-15T18:23:44";
        QTest::newRow("task without description")
            << decodeFailure<AssistantTask>(
                   R"({"id":"1","title":"t","done":false,"date":"2026-11-15T18:23:44Z"})")
            << "The backend's reply lacks \"description\".";
        QTest::newRow("reminder without dueAt")
            << decodeFailure<Reminder>(R"({"id":"1","title":"t","fired":false,
                   "date":"2026-11-15T18:23:44Z","description":""})")
            << "The backend's reply lacks \"dueAt\".";
        QTest::newRow("meeting without notes")
            << decodeFailure<Meeting>(R"({"id":"m","title":"t","transcript":"",
                   "durationSec":3,"date":"2026-11-15T18:23:44Z"})")
            << "The backend's reply lacks \"notes\".";
        QTest::newRow("meeting fractional duration")
            << decodeFailure<Meeting>(R"({"id":"m","title":"t","transcript":"","notes":"",
                   "durationSec":3.5,"date":"2026-11-15T18:23:44Z"})")
            << "The backend's reply has no integer under \"durationSec\".";
    }

    void strictRecords()
    {
        QFETCH(QString, failure);
        QFETCH(QString, expected);
        QCOMPARE(failure, expected);
    }

    void optionalFields()
    {
        const AssistantTask task = AssistantTask::fromJson(json(R"({"id":"1","title":"Call",
            "project":null,"done":true,"date":"2026-11-15T18:23:44.5Z","description":"d",
            "completedAt":"2026-11-16T08:00:00Z","extra":[1,2]})"));
        QVERIFY(!task.project);
        QVERIFY(!task.dueAt);
        QCOMPARE(task.completedAt->date(), QDate(2026, 11, 16));
        QCOMPARE(task.details, QStringLiteral("d"));

        const Meeting meeting = Meeting::fromJson(json(R"({"id":"m","title":"Sync",
            "transcript":"hello","segments":null,"notes":"n","durationSec":1800,
            "date":"2026-11-15T18:23:44Z"})"));
        QVERIFY(meeting.segments.isEmpty());
        QCOMPARE(meeting.durationSec, 1800);

        const Meeting withSegments = Meeting::fromJson(json(R"({"id":"m","title":"Sync",
            "transcript":"hello","segments":[{"speaker":"A","text":"hello"}],"notes":"n",
            "durationSec":2,"date":"2026-11-15T18:23:44Z"})"));
        QCOMPARE(withSegments.segments, (QList<TranscriptSegment>{{"A", "hello"}}));
    }

    void initials_data()
    {
        QTest::addColumn<QString>("name");
        QTest::addColumn<QString>("email");
        QTest::addColumn<QString>("expected");
        QTest::newRow("two words") << "ada lovelace"
                                   << "a@b"
                                   << "AL";
        QTest::newRow("one word") << "Grace"
                                  << "g@b"
                                  << "G";
        QTest::newRow("extra spaces") << "  mary   ann  smith "
                                      << "m@b"
                                      << "MA";
        QTest::newRow("email") << ""
                               << "xavier@example.com"
                               << "X";
        QTest::newRow("astral") << "𝒜da"
                                << ""
                                << "𝒜";
        QTest::newRow("combining accent")
            << QStringLiteral("e\u0301mile zola") << "" << QStringLiteral("E\u0301Z");
    }

    void initials()
    {
        QFETCH(QString, name);
        QFETCH(QString, email);
        QFETCH(QString, expected);
        QCOMPARE((AuthUser{"id", email, name, "", "email"}.initials()), expected);
    }

    void deviceNow_data()
    {
        QTest::addColumn<QByteArray>("zone");
        QTest::addColumn<QDateTime>("instant");
        QTest::addColumn<QString>("expected");
        const QDateTime winter(QDate(2026, 11, 15), QTime(17, 23, 44), Qt::UTC);
        QTest::newRow("berlin") << QByteArray("Europe/Berlin") << winter
                                << "Sunday, 15 November 2026, 6:23 PM (Europe/Berlin, +01:00)";
        QTest::newRow("behind by 3.5 h")
            << QByteArray("America/St_Johns") << winter
            << "Sunday, 15 November 2026, 1:53 PM (America/St_Johns, -03:30)";
        QTest::newRow("utc morning") << QByteArray("UTC") << winter.addSecs(-17 * 3600)
                                     << "Sunday, 15 November 2026, 12:23 AM (UTC, +00:00)";
    }

    void deviceNow()
    {
        QFETCH(QByteArray, zone);
        QFETCH(QDateTime, instant);
        QFETCH(QString, expected);
        QVERIFY2(QTimeZone::isTimeZoneIdAvailable(zone), "tzdata is installed");
        QCOMPARE(DeviceNow::format(instant, QTimeZone(zone)), expected);
    }
};

QTEST_GUILESS_MAIN(TestBackendRecords)
#include "TestBackendRecords.moc"
