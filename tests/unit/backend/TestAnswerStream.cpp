// The streamed answer reader: lines cut anywhere, junk skipped, keys in their order.
#include "backend/AnswerStreamReader.h"
#include "backend/BackendError.h"

#include <QTest>

namespace {

struct Outcome
{
    QStringList events;
    QString answer;
    QString error;
};

// Feeds `stream` in pieces cut at `cuts` (byte offsets), recording every callback.
Outcome read(const QByteArray &stream, const QList<qsizetype> &cuts, bool withActions = true)
{
    Outcome outcome;
    AnswerStreamReader reader(
        200, [&](const QString &delta) { outcome.events << QStringLiteral("delta:") + delta; },
        withActions
            ? AnswerStreamReader::ActionHandler([&](const QString &type, const QString &name) {
                  outcome.events << QStringLiteral("action:%1/%2").arg(type, name);
              })
            : AnswerStreamReader::ActionHandler());
    try {
        qsizetype from = 0;
        for (qsizetype cut : cuts) {
            reader.feed(stream.mid(from, cut - from));
            from = cut;
        }
        reader.feed(stream.mid(from));
        reader.finish();
        outcome.answer = reader.answer();
    } catch (const BackendError &e) {
        outcome.error = e.description();
    }
    return outcome;
}

const QByteArray sample = "{\"delta\":\"The \"}\n"
                          "{\"delta\":\"meeting \\u00e9 at 3.\"}\r\n"
                          "   \t \n"
                          "not json\n"
                          "[1,2]\n"
                          "{\"action\":{\"type\":\"open_app\",\"name\":\"Calendar\"}}\n"
                          "{\"action\":{\"type\":\"open_app\"}}\n"
                          "{\"delta\":\"x\",\"answer\":\"ignored\"}\n"
                          "{\"other\":1}\n"
                          "{\"answer\":\"first\"}\n"
                          "\t{\"answer\":\"The meeting é at 3.\"}  ";

const QStringList sampleEvents{"delta:The ", "delta:meeting é at 3.", "action:open_app/Calendar",
                               "delta:x"};

} // namespace

class TestAnswerStream : public QObject
{
    Q_OBJECT
private Q_SLOTS:
    void everySplitGivesTheSameEvents()
    {
        const Outcome whole = read(sample, {});
        QCOMPARE(whole.events, sampleEvents);
        QCOMPARE(whole.answer, QStringLiteral("The meeting é at 3."));
        // One cut at each byte boundary, including inside the UTF-8 of "é" and the CRLF.
        for (qsizetype cut = 1; cut < sample.size(); ++cut) {
            const Outcome split = read(sample, {cut});
            QCOMPARE(split.events, whole.events);
            QCOMPARE(split.answer, whole.answer);
        }
        // And the stream delivered one byte per read.
        QList<qsizetype> everyByte;
        for (qsizetype i = 1; i < sample.size(); ++i)
            everyByte << i;
        QCOMPARE(read(sample, everyByte).events, sampleEvents);
    }

    void callbacksFireAsLinesComplete()
    {
        QStringList deltas;
        AnswerStreamReader reader(200, [&](const QString &d) { deltas << d; });
        reader.feed("{\"delta\":\"a\"}\n{\"del");
        QCOMPARE(deltas, QStringList{"a"});
        reader.feed("ta\":\"b\"}");
        QCOMPARE(deltas, QStringList{"a"}); // the line is not complete yet
        reader.feed("\n");
        QCOMPARE(deltas, (QStringList{"a", "b"}));
    }

    void outcomes_data()
    {
        QTest::addColumn<QByteArray>("stream");
        QTest::addColumn<QStringList>("events");
        QTest::addColumn<QString>("answer");
        QTest::addColumn<QString>("error");
        QTest::newRow("only deltas") << QByteArray("{\"delta\":\"a\"}\n{\"delta\":\"b\"}\n")
                                     << QStringList{"delta:a", "delta:b"} << ""
                                     << "";
        QTest::newRow("empty") << QByteArray() << QStringList() << ""
                               << "";
        QTest::newRow("error event stops reading")
            << QByteArray("{\"delta\":\"a\"}\n{\"error\":\"model overloaded\"}\n"
                          "{\"delta\":\"never\"}\n{\"answer\":\"never\"}\n")
            << QStringList{"delta:a"} << ""
            << "Backend error 200: model overloaded";
        QTest::newRow("error after answer")
            << QByteArray("{\"answer\":\"x\"}\n{\"error\":\"late\"}") << QStringList() << ""
            << "Backend error 200: late";
        QTest::newRow("non-string values ignored")
            << QByteArray("{\"delta\":5}\n{\"answer\":null}\n{\"error\":{}}\n{\"answer\":\"ok\"}")
            << QStringList() << "ok"
            << "";
    }

    // A line past the limit is dropped as it comes, whichever way it is cut, and reading
    // goes on after its break.
    void overlongLineIsSkippedUnheld()
    {
        const QByteArray huge(AnswerStreamReader::maxLineBytes + 10, 'x');
        const QByteArray stream = "{\"delta\":\"a\"}\n{\"delta\":\"" + huge +
                                  "\"}\n{\"delta\":\"b\"}\n{\"answer\":\"ab\"}";
        for (const QList<qsizetype> &cuts :
             {QList<qsizetype>{}, QList<qsizetype>{20, 1000, AnswerStreamReader::maxLineBytes + 5},
              QList<qsizetype>{AnswerStreamReader::maxLineBytes + 30}}) {
            const Outcome outcome = read(stream, cuts);
            QCOMPARE(outcome.events, (QStringList{"delta:a", "delta:b"}));
            QCOMPARE(outcome.answer, QStringLiteral("ab"));
        }
    }

    void outcomes()
    {
        QFETCH(QByteArray, stream);
        QFETCH(QStringList, events);
        QFETCH(QString, answer);
        QFETCH(QString, error);
        const Outcome outcome = read(stream, {});
        QCOMPARE(outcome.events, events);
        QCOMPARE(outcome.answer, answer);
        QCOMPARE(outcome.error, error);
    }
};

QTEST_GUILESS_MAIN(TestAnswerStream)
#include "TestAnswerStream.moc"
