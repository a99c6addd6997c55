// Recognised speech made readable.
#include "TextCleanup.h"

#include <QTest>

class TestTextCleanup : public QObject
{
    Q_OBJECT
private Q_SLOTS:
    void clean_data()
    {
        QTest::addColumn<QString>("heard");
        QTest::addColumn<QString>("written");
        QTest::newRow("recogniser output") << "um so i think uh we should go"
                                           << "So I think we should go.";
        QTest::newRow("fillers with their commas") << "So, um, we should, uh, go now."
                                                   << "So we should go now.";
        QTest::newRow("filler before a stop") << "that was it, erm. next item umm"
                                              << "That was it. Next item.";
        QTest::newRow("only fillers") << "Um, uh... er"
                                      << "";
        QTest::newRow("you know between pauses") << "it was, you know, hard"
                                                 << "It was hard.";
        QTest::newRow("you know as a tag") << "it was hard you know"
                                           << "It was hard.";
        QTest::newRow("do you know") << "do you know where it is"
                                     << "Do you know where it is.";
        QTest::newRow("you know what") << "You know what I mean?"
                                       << "You know what I mean?";
        QTest::newRow("question tag kept") << "it works, you know?"
                                           << "It works, you know?";
        QTest::newRow("spacing and punctuation") << "  hello ,world .  how are you ?"
                                                 << "Hello, world. How are you?";
        QTest::newRow("pronoun I and contractions")
            << "yes i'm sure i'll be there and i've said so"
            << "Yes I'm sure I'll be there and I've said so.";
        QTest::newRow("numbers keep their dots") << "version 3.5 is out"
                                                 << "Version 3.5 is out.";
        QTest::newRow("weekdays") << "by friday or on mondays"
                                  << "By Friday or on Mondays.";
        QTest::newRow("UTF-8 kept") << "über cool, ça va"
                                    << "über cool, ça va.";
    }

    void clean()
    {
        QFETCH(QString, heard);
        QFETCH(QString, written);
        QCOMPARE(QString::fromStdString(TextCleanup::clean(heard.toStdString())), written);
    }
};

QTEST_GUILESS_MAIN(TestTextCleanup)
#include "TestTextCleanup.moc"
