// The ovrin binary's command-line tools on a bare terminal: no display, no session bus.
#include <QProcess>
#include <QTemporaryDir>
#include <QTest>

class TestCommandLine : public QObject
{
    Q_OBJECT

    struct Result
    {
        int exitCode = -1;
        QByteArray out;
        QByteArray err;
    };

    Result run(const QStringList &arguments)
    {
        // Only what a login over SSH without X forwarding would have.
        QProcessEnvironment environment;
        environment.insert("PATH", qEnvironmentVariable("PATH"));
        environment.insert("HOME", m_home.path());
        QProcess process;
        process.setProcessEnvironment(environment);
        process.start(QStringLiteral(OVRIN_BINARY), arguments);
        Result result;
        if (!process.waitForFinished(10000))
            return result;
        result.exitCode = process.exitStatus() == QProcess::NormalExit ? process.exitCode() : -1;
        result.out = process.readAllStandardOutput();
        result.err = process.readAllStandardError();
        return result;
    }

    QTemporaryDir m_home;

private Q_SLOTS:
    void helpWithoutDisplay()
    {
        const Result result = run({"--help"});
        QCOMPARE(result.exitCode, 0);
        QVERIFY2(result.out.startsWith("Usage:"), result.out.constData());
        QVERIFY(result.out.contains("ovrin transcribe FILE.wav [--cleanup]"));
        QVERIFY2(result.err.isEmpty(), result.err.constData());
    }

    void failuresExitWithOne()
    {
        const QString missing = m_home.filePath("none.wav");
        const Result result = run({"transcribe", missing});
        QCOMPARE(result.exitCode, 1);
        QVERIFY2(result.err.startsWith("Can't read " + missing.toUtf8()), result.err.constData());
        QVERIFY(result.out.isEmpty());
    }

    void usageMistakesExitWithTwo()
    {
        const Result result = run({"ask"});
        QCOMPARE(result.exitCode, 2);
        QVERIFY(result.err.startsWith("ovrin: ask takes one question"));
    }
};

QTEST_GUILESS_MAIN(TestCommandLine)
#include "TestCommandLine.moc"
