#include "core/CancellationToken.h"
#include "core/DescribedError.h"
#include "core/Text.h"

#include <QTest>

#include <stdexcept>

namespace {

const QString family = QStringLiteral("👨‍👩‍👧");
const QString accented = QStringLiteral("e\u0301");

void addRow(const char *name, const QString &input, const QString &expected)
{
    QTest::newRow(name) << input << expected;
}

} // namespace

class TestCoreHelpers : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void trimmed_data()
    {
        QTest::addColumn<QString>("input");
        QTest::addColumn<QString>("expected");
        addRow("ascii white space", " \t\r\nhello world \n", "hello world");
        addRow("unicode separators", "\u2028\u00A0hello\u2029\u00A0", "hello");
        addRow("inner white space kept", " a \n\t b\u00A0c\u2028d ", "a \n\t b\u00A0c\u2028d");
        addRow("only white space", " \r\n\u2028\t", "");
    }

    void trimmed()
    {
        QFETCH(QString, input);
        QFETCH(QString, expected);
        QCOMPARE(Text::trimmed(input), expected);
    }

    void characterCountCountsGraphemes()
    {
        QCOMPARE(Text::characterCount(QString()), 0);
        QCOMPARE(Text::characterCount(QStringLiteral("a\r\nb")), 3);
        QCOMPARE(Text::characterCount(accented + family + "x" + QStringLiteral("🇫🇷")), 4);
    }

    void truncated_data()
    {
        QTest::addColumn<QString>("input");
        QTest::addColumn<QString>("expected");
        const QString sixty(60, u'a');
        const QString fiftyNine(59, u'a');
        addRow("60 stays whole", sixty, sixty);
        addRow("61 is cut", sixty + "b", sixty + "…");
        addRow("emoji at the cut kept whole", fiftyNine + family + "b", fiftyNine + family + "…");
        addRow("emoji after the cut dropped whole", sixty + family, sixty + "…");
        addRow("accent at the cut", fiftyNine + accented + "b", fiftyNine + accented + "…");
        addRow("60 emoji stay whole", family.repeated(60), family.repeated(60));
    }

    void truncated()
    {
        QFETCH(QString, input);
        QFETCH(QString, expected);
        QCOMPARE(Text::truncated(input, 60), expected);
    }

    void cancellationRunsEveryHandlerOnce()
    {
        CancellationToken owner;
        CancellationToken task = owner;
        QStringList calls;
        task.onCancel([&] {
            calls << "abort reply";
            // Registered while cancellation is in progress, so it runs at once.
            task.onCancel([&] { calls << "nested"; });
        });
        owner.onCancel([&] { calls << "stop timer"; });
        QVERIFY(!task.isCancelled());

        owner.cancel();
        QVERIFY(task.isCancelled());
        task.onCancel([&] { calls << "late"; });
        task.cancel();
        owner.cancel();
        QCOMPARE(calls, (QStringList{"abort reply", "nested", "stop timer", "late"}));
    }

    void describeAnyException()
    {
        const QString text = QStringLiteral("Couldn't reach the server — check “Backend URL”.");
        QCOMPARE(QString::fromUtf8(DescribedError(text).what()), text);
        QCOMPARE(DescribedError::describe(std::make_exception_ptr(DescribedError(text))), text);
        QCOMPARE(DescribedError::describe(std::make_exception_ptr(std::runtime_error("Disk ✗"))),
                 QStringLiteral("Disk ✗"));
        QCOMPARE(DescribedError::describe(std::make_exception_ptr(42)), "Unknown error.");
        QCOMPARE(DescribedError::describe(std::exception_ptr()), "Unknown error.");
    }
};

QTEST_GUILESS_MAIN(TestCoreHelpers)
#include "TestCoreHelpers.moc"
