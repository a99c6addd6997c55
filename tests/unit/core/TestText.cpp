#include "core/Text.h"

#include <QTest>

namespace {

const QString family = QStringLiteral("👨‍👩‍👧");
const QString flag = QStringLiteral("🇫🇷");
const QString accented = QStringLiteral("e\u0301");

} // namespace

class TestText : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void trimmed_data()
    {
        QTest::addColumn<QString>("input");
        QTest::addColumn<QString>("expected");
        QTest::newRow("spaces") << "  hello world  "
                                << "hello world";
        QTest::newRow("line breaks") << "\nhello\r\n"
                                     << "hello";
        QTest::newRow("tabs") << "\t\thello\t"
                              << "hello";
        QTest::newRow("line separator") << "\u2028hello\u2029"
                                        << "hello";
        QTest::newRow("no-break space") << "\u00A0hello\u00A0"
                                        << "hello";
        QTest::newRow("inner white space kept") << " a \n\t b\u00A0c\u2028d "
                                                << "a \n\t b\u00A0c\u2028d";
        QTest::newRow("only white space") << " \r\n\u2028\t"
                                          << "";
    }

    void trimmed()
    {
        QFETCH(QString, input);
        QFETCH(QString, expected);
        QCOMPARE(Text::trimmed(input), expected);
    }

    void characterCount_data()
    {
        QTest::addColumn<QString>("text");
        QTest::addColumn<int>("count");
        QTest::newRow("empty") << QString() << 0;
        QTest::newRow("combining accent") << accented << 1;
        QTest::newRow("zwj emoji") << family << 1;
        QTest::newRow("flag") << flag << 1;
        QTest::newRow("crlf") << "a\r\nb" << 3;
        QTest::newRow("mixed") << QString(accented + family + "x" + flag) << 4;
    }

    void characterCount()
    {
        QFETCH(QString, text);
        QFETCH(int, count);
        QCOMPARE(Text::characterCount(text), count);
    }

    void truncated_data()
    {
        QTest::addColumn<QString>("text");
        QTest::addColumn<QString>("expected");
        const QString sixty(60, u'a');
        const QString fiftyNine(59, u'a');
        QTest::newRow("60 stays whole") << sixty << sixty;
        QTest::newRow("61 is cut") << QString(sixty + "b") << QString(sixty + "…");
        QTest::newRow("emoji at the cut is kept whole")
            << QString(fiftyNine + family + "b") << QString(fiftyNine + family + "…");
        QTest::newRow("emoji after the cut is dropped whole")
            << QString(sixty + family) << QString(sixty + "…");
        QTest::newRow("combining sequence at the cut")
            << QString(fiftyNine + accented + "b") << QString(fiftyNine + accented + "…");
        QTest::newRow("60 emoji stay whole") << family.repeated(60) << family.repeated(60);
    }

    void truncated()
    {
        QFETCH(QString, text);
        QFETCH(QString, expected);
        QCOMPARE(Text::truncated(text, 60), expected);
    }
};

QTEST_GUILESS_MAIN(TestText)
#include "TestText.moc"
