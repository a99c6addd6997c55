// Spoken times against Sunday, 15 November 2026, 6:23 PM in Berlin.
#include "AssistantRig.h"
#include "TimePhrase.h"

#include <QTest>

using namespace std::chrono;

class TestTimePhrase : public QObject
{
    Q_OBJECT
private Q_SLOTS:
    void parse_data()
    {
        QTest::addColumn<QString>("words");
        QTest::addColumn<bool>("task");
        QTest::addColumn<QString>("expected"); // local "day HH:MM", or empty for no time
        QTest::newRow("5 pm, already past") << "at 5 pm" << false << "16 17:00";
        QTest::newRow("5pm written together") << "at 5pm" << false << "16 17:00";
        QTest::newRow("bare hour: the evening one is next") << "at 7" << false << "15 19:00";
        QTest::newRow("24-hour") << "at 19:45" << false << "15 19:45";
        QTest::newRow("spoken words") << "at five thirty p.m." << false << "16 17:30";
        QTest::newRow("tomorrow morning") << "tomorrow at 9" << false << "16 09:00";
        QTest::newRow("tomorrow, an afternoon hour") << "tomorrow at 3" << false << "16 15:00";
        QTest::newRow("time before day") << "at 8 am on Tuesday" << false << "17 08:00";
        QTest::newRow("weekday without time") << "on Monday" << false << "16 09:00";
        QTest::newRow("today's weekday means next week") << "on Sunday" << false << "22 09:00";
        QTest::newRow("half an hour") << "in half an hour" << false << "15 18:53";
        QTest::newRow("hour and a half") << "in an hour and a half" << false << "15 19:53";
        QTest::newRow("compound") << "in 2 hours and 15 minutes" << false << "15 20:38";
        QTest::newRow("number words") << "in twenty five minutes" << false << "15 18:48";
        QTest::newRow("across midnight") << "in 6 hours" << false << "16 00:23";
        QTest::newRow("tonight") << "tonight" << false << "15 21:00";
        QTest::newRow("this morning has passed") << "this morning" << false << "16 09:00";
        QTest::newRow("date and noon") << "on 20 November at noon" << false << "20 12:00";
        QTest::newRow("month first, ordinal") << "on December 3rd" << false << "3 09:00";
        QTest::newRow("midnight") << "at midnight" << false << "16 00:00";
        QTest::newRow("task due by a day") << "by Friday" << true << "20 23:59";
        QTest::newRow("task due tomorrow") << "tomorrow" << true << "16 23:59";
        QTest::newRow("a bare number is no time") << "5" << false << "";
        QTest::newRow("not an hour") << "at 25" << false << "";
        QTest::newRow("no such date") << "on 31 February" << false << "";
        QTest::newRow("abbreviated weekday is a word") << "on sun" << false << "";
        QTest::newRow("dangling and") << "in 2 hours and" << false << "";
    }

    void parse()
    {
        QFETCH(QString, words);
        QFETCH(bool, task);
        QFETCH(QString, expected);
        const DeviceTime now = DeviceTime::parse(AssistantRig::berlin, AssistantRig::clock());
        const Phrase phrase(words.toStdString());
        const auto result =
            TimePhrase::parse(phrase, 0, phrase.size(), now,
                              task ? TimePhrase::Purpose::Task : TimePhrase::Purpose::Reminder);
        if (expected.isEmpty()) {
            QVERIFY(!result);
            return;
        }
        QVERIFY(result);
        const local_days day = floor<days>(result->when);
        const hh_mm_ss time{floor<minutes>(result->when - day)};
        QCOMPARE(QString("%1 %2:%3")
                     .arg(unsigned(year_month_day{day}.day()))
                     .arg(time.hours().count(), 2, 10, QChar('0'))
                     .arg(time.minutes().count(), 2, 10, QChar('0')),
                 expected);
    }

    // A time is found at the end or the start of a longer sentence, never inside a title.
    void within()
    {
        const DeviceTime now = DeviceTime::parse(AssistantRig::berlin, AssistantRig::clock());
        const Phrase end("call the bank tomorrow at 9 am");
        const auto atEnd =
            TimePhrase::atEnd(end, 1, end.size(), now, TimePhrase::Purpose::Reminder);
        QVERIFY(atEnd);
        QCOMPARE(atEnd->begin, std::size_t(3));
        QVERIFY(atEnd->timeGiven);

        const Phrase start("tomorrow at 9 to call the bank");
        const auto atStart =
            TimePhrase::atStart(start, 0, start.size(), now, TimePhrase::Purpose::Reminder);
        QVERIFY(atStart);
        QCOMPARE(atStart->end, std::size_t(3));

        const Phrase none("take 2 pills");
        QVERIFY(!TimePhrase::atEnd(none, 1, none.size(), now, TimePhrase::Purpose::Reminder));
    }
};

QTEST_GUILESS_MAIN(TestTimePhrase)
#include "TestTimePhrase.moc"
