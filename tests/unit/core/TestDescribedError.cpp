#include "core/DescribedError.h"

#include <QTest>

#include <stdexcept>

class TestDescribedError : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void describe()
    {
        const QString text = QStringLiteral("Couldn't reach the server — check “Backend URL”.");
        const DescribedError described(text);
        QCOMPARE(QString::fromUtf8(described.what()), text);
        QCOMPARE(DescribedError::describe(std::make_exception_ptr(described)), text);

        const std::runtime_error runtime("Disk full ✗");
        QCOMPARE(DescribedError::describe(std::make_exception_ptr(runtime)),
                 QStringLiteral("Disk full ✗"));

        struct NotStd
        {};
        QCOMPARE(DescribedError::describe(std::make_exception_ptr(NotStd{})),
                 QStringLiteral("Unknown error."));
        QCOMPARE(DescribedError::describe(std::exception_ptr()), QStringLiteral("Unknown error."));
    }
};

QTEST_GUILESS_MAIN(TestDescribedError)
#include "TestDescribedError.moc"
