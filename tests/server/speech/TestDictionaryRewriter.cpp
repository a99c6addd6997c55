// The user's dictionary applied to recognised text.
#include "DictionaryRewriter.h"

#include <QTest>

class TestDictionaryRewriter : public QObject
{
    Q_OBJECT
private Q_SLOTS:
    void rewrite_data()
    {
        QTest::addColumn<QString>("heard");
        QTest::addColumn<QString>("written");
        QTest::newRow("variant") << "deploy it to cube today"
                                 << "deploy it to Kubernetes today";
        QTest::newRow("any case, at the ends") << "Cube works. so does CUBE"
                                               << "Kubernetes works. so does Kubernetes";
        QTest::newRow("not inside words") << "two cubes and a cuber"
                                          << "two cubes and a cuber";
        QTest::newRow("term in the wrong case") << "open github now"
                                                << "open GitHub now";
        QTest::newRow("multi-word, any spacing") << "ask over in  cloud about it"
                                                 << "ask Ovrin Cloud about it";
        QTest::newRow("longest variant first") << "the over in cloud team"
                                               << "the Ovrin Cloud team";
        QTest::newRow("punctuation in a variant") << "written in c plus plus and c++"
                                                  << "written in C++ and C++";
        QTest::newRow("UTF-8 untouched") << "café cube naïve über"
                                         << "café Kubernetes naïve über";
        QTest::newRow("UTF-8 neighbours are letters") << "écube cubeé"
                                                      << "écube cubeé";
    }

    void rewrite()
    {
        QFETCH(QString, heard);
        QFETCH(QString, written);
        const DictionaryRewriter rewriter({
            {"Kubernetes", {"cube", "cubes nettie"}},
            {"GitHub", {}},
            {"Ovrin Cloud", {"over in cloud"}},
            {"Ovrin", {"over in"}},
            {"C++", {"c plus plus"}},
        });
        QCOMPARE(QString::fromStdString(rewriter.rewrite(heard.toStdString())), written);
    }

    void emptyDictionaryChangesNothing()
    {
        const DictionaryRewriter rewriter({{"", {"", "  "}}});
        QCOMPARE(rewriter.rewrite("as it was "), std::string("as it was "));
    }
};

QTEST_GUILESS_MAIN(TestDictionaryRewriter)
#include "TestDictionaryRewriter.moc"
