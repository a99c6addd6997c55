// Offline answers about the screen from OCR text: the summary, matching lines to a question,
// and nothing read.
#include "ScreenTextAnswer.h"

#include <QTest>

namespace {

// What Tesseract returns for a mail window: chrome, icons read as symbols, columns run together.
const std::string screen = "Project Planning - Notes\n"
                           "| © = ii\n"
                           "Inbox\n"
                           "Drafts Weekly Status Update\n"
                           "Calendar The quarterly report shows revenue growth in every region.\n"
                           "Please send the signed contract to Dana before Friday.\n"
                           "Contacts ;\n"
                           "Meeting notes from the design review are attached below.\n"
                           "The server migration is scheduled for next Tuesday evening.\n"
                           "Customer feedback has improved since the last release.\n"
                           "Send Report\n";
const std::string configPath = "/home/u/.config/Ovrin/server.json";

QString answerTo(const std::string &question, const std::string &text = screen)
{
    return QString::fromStdString(ScreenTextAnswer::answer(question, text, configPath));
}

} // namespace

class TestScreenTextAnswer : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void summarisesTheScreen_data()
    {
        QTest::addColumn<QString>("question");
        QTest::newRow("what's on") << "What's on my screen?";
        QTest::newRow("empty") << "";
        QTest::newRow("describe") << "Can you describe what I'm looking at right now";
    }

    void summarisesTheScreen()
    {
        QFETCH(QString, question);
        const QString answer = answerTo(question.toStdString());
        QVERIFY2(answer.startsWith("I read 11 lines (57 words) on your screen. The most "
                                   "prominent text: "),
                 qPrintable(answer));
        // Headings first, then running text, in screen order; no noise, no single words.
        QVERIFY2(answer.endsWith("“Project Planning - Notes”; “Drafts Weekly Status Update”; "
                                 "“Calendar The quarterly report shows revenue growth in every "
                                 "region.”; “Please send the signed contract to Dana before "
                                 "Friday.”."),
                 qPrintable(answer));
    }

    void quotesTheLinesAQuestionIsAbout()
    {
        const QString answer = answerTo("When is the server migrations scheduled?");
        QVERIFY2(answer.startsWith("On your screen: “The server migration is scheduled for next "
                                   "Tuesday evening.”. "),
                 qPrintable(answer));
        QVERIFY2(answer.contains(QString::fromStdString(configPath)), qPrintable(answer));
        QVERIFY2(answer.contains("OVRIN_VISION_MODEL"), qPrintable(answer));

        // Lines sharing one word of two are no match when another shares both.
        const QString best = answerTo("who sent the report");
        QVERIFY2(best.startsWith("On your screen: “Calendar The quarterly report shows revenue "
                                 "growth in every region.”; “Send Report”. "),
                 qPrintable(best));
    }

    void saysWhenNothingMatches()
    {
        const QString answer = answerTo("What is the weather in Lisbon?");
        QVERIFY2(answer.startsWith("I couldn't find anything about that in the text on your "
                                   "screen. I read 11 lines"),
                 qPrintable(answer));
        QVERIFY2(answer.contains("visionModel"), qPrintable(answer));
    }

    void saysWhenNothingWasRead()
    {
        for (const std::string text : {"", " \n\n", "| — ©\n=\n"})
            QCOMPARE(answerTo("What's on my screen?", text),
                     "I couldn't read any text on your screen.");
    }

    void keepsQuotesShort()
    {
        std::string longLine = "Quarterly";
        while (longLine.size() < 400)
            longLine += " naïve words";
        const QString answer = answerTo("quarterly", longLine);
        QVERIFY2(answer.contains("…”"), qPrintable(answer));
        QVERIFY(answer.size() < 400);
        QVERIFY(QString::fromUtf8(answer.toUtf8()) == answer); // no broken UTF-8
    }
};

QTEST_GUILESS_MAIN(TestScreenTextAnswer)
#include "TestScreenTextAnswer.moc"
