// The command-line tools against the fake backend: output, streaming, exit statuses.
#include "app/CommandLineTool.h"
#include "backend/Backend.h"
#include "stores/AuthStore.h"
#include "support/FakeBackendServer.h"
#include "support/FakeKeychain.h"
#include "support/TaskOutcome.h"

#include <QTemporaryDir>
#include <QTest>
#include <QTextStream>

class TestCommandLineTool : public QObject
{
    Q_OBJECT

    struct Run
    {
        int status = -1;
        QString out;
        QString err;
    };

    Run run(Backend &backend, QStringList arguments, QString password = {})
    {
        Run result;
        QTextStream out(&result.out), err(&result.err);
        AuthStore auth(backend, m_keychain);
        backend.setTokenProvider(&auth);
        CommandLineTool tool(backend, auth, out, err);
        tool.setPasswordReader([password](const QString &) { return password; });
        arguments.prepend(QStringLiteral("ovrin"));
        const auto outcome = TaskOutcome<int>::settle(tool.run(arguments));
        if (outcome.value)
            result.status = *outcome.value;
        return result;
    }

    QString writeFile(const QString &name, const QByteArray &bytes)
    {
        const QString path = m_dir.filePath(name);
        QFile file(path);
        if (!file.open(QIODevice::WriteOnly) || file.write(bytes) != bytes.size())
            return {};
        return path;
    }

    QTemporaryDir m_dir;
    FakeKeychain m_keychain;

private Q_SLOTS:
    void recognisesOnlyItsCommands()
    {
        QVERIFY(CommandLineTool::isCommand({"ovrin", "ask", "x"}));
        QVERIFY(CommandLineTool::isCommand({"ovrin", "--help"}));
        QVERIFY(!CommandLineTool::isCommand({"ovrin"}));
        QVERIFY(!CommandLineTool::isCommand({"ovrin", "ovrin://auth?token=t"}));
    }

    void transcribePrintsTrimmedText()
    {
        FakeBackendServer server;
        QVERIFY(server.listen());
        server.on("POST", "/transcribe").json(QJsonObject{{"text", "  Hello there. \n"}});
        Backend backend(server.baseURL());
        const QString wav = writeFile("a.wav", QByteArray("RIFF\x24\0\0\0WAVEfmt ", 16));

        Run result = run(backend, {"transcribe", wav, "--cleanup"});
        QCOMPARE(result.status, 0);
        QCOMPARE(result.out, QStringLiteral("Hello there.\n"));
        QVERIFY(server.lastRequest().body.contains("name=\"cleanup\"\r\n\r\ntrue\r\n"));

        result = run(backend, {"transcribe", wav});
        QVERIFY(!server.lastRequest().body.contains("cleanup"));
    }

    void transcribeRefusesWhatItCannotSend()
    {
        Backend backend(QUrl("http://127.0.0.1:9"));
        const QString missing = m_dir.filePath("missing.wav");
        Run result = run(backend, {"transcribe", missing});
        QCOMPARE(result.status, 1);
        QVERIFY2(result.err.startsWith("Can't read " + missing + ": "), qPrintable(result.err));

        const QString text = writeFile("notes.txt", "plain text, not audio");
        result = run(backend, {"transcribe", text});
        QCOMPARE(result.status, 1);
        QCOMPARE(result.err, text + " is not a WAV file.\n");
    }

    void askPrintsTheAnswerOrTheError_data()
    {
        QTest::addColumn<int>("status");
        QTest::addColumn<QByteArray>("stream");
        QTest::addColumn<QString>("out");
        QTest::addColumn<QString>("err");
        QTest::newRow("http") << 500 << QByteArray("{\"error\":\"boom\"}") << ""
                              << "Backend error 500: boom\n";
        QTest::newRow("stream error")
            << 200 << QByteArray("{\"delta\":\"Hm\"}\n{\"error\":\"x\"}\n") << "Hm\n"
            << "Backend error 200: x\n";
        QTest::newRow("answer only") << 200 << QByteArray("{\"answer\":\"42\"}\n") << "42\n"
                                     << "";
        QTest::newRow("deltas") << 200
                                << QByteArray(
                                       "{\"delta\":\"4\"}\n{\"delta\":\"2\"}\n{\"answer\":\"42\"}")
                                << "42\n"
                                << "";
    }

    void askPrintsTheAnswerOrTheError()
    {
        QFETCH(int, status);
        QFETCH(QByteArray, stream);
        QFETCH(QString, out);
        QFETCH(QString, err);
        FakeBackendServer server;
        QVERIFY(server.listen());
        server.on("POST", "/ask").status(status).body(stream);
        Backend backend(server.baseURL());
        const Run result = run(backend, {"ask", "Why?", "--context", "Agenda"});
        QCOMPARE(server.lastRequest().json().value("context").toString(), QStringLiteral("Agenda"));
        QCOMPARE(result.status, err.isEmpty() ? 0 : 1);
        QCOMPARE(result.out, out);
        QCOMPARE(result.err, err);
    }

    void signInKeepsTheTokenForLaterCommands()
    {
        FakeBackendServer server;
        QVERIFY(server.listen());
        const QJsonObject ada{{"id", "u1"},
                              {"email", "ada@example.com"},
                              {"name", "Ada"},
                              {"picture", ""},
                              {"provider", "email"}};
        server.on("POST", "/auth/login").json(QJsonObject{{"token", "t0k"}, {"user", ada}});
        server.on("GET", "/auth/me").json(QJsonObject{{"user", ada}});
        server.on("POST", "/ask").body("{\"answer\":\"Hi\"}");
        Backend backend(server.baseURL());
        m_keychain.items.clear();

        Run result = run(backend, {"login", "ada@example.com"}, "s3cret pw");
        QCOMPARE(result.status, 0);
        QCOMPARE(result.out, QStringLiteral("Signed in as Ada <ada@example.com>.\n"));
        QCOMPARE(server.requests().first().json().value("password").toString(), "s3cret pw");
        QCOMPARE(m_keychain.items.value(AuthStore::keychainKey), QStringLiteral("t0k"));

        // A later process reads the stored token.
        result = run(backend, {"ask", "Hello?"});
        QCOMPARE(server.lastRequest().header("Authorization"), QByteArray("Bearer t0k"));
        result = run(backend, {"whoami"});
        QCOMPARE(result.out, QStringLiteral("Ada <ada@example.com>\n"));

        result = run(backend, {"logout"});
        QCOMPARE(result.out, QStringLiteral("Signed out.\n"));
        QVERIFY(m_keychain.items.isEmpty());
        result = run(backend, {"whoami"});
        QCOMPARE(result.status, 1);
        QCOMPARE(result.err, QStringLiteral("Not signed in.\n"));

        // Without a keyring the sign-in cannot last: say so and fail.
        m_keychain.available = false;
        result = run(backend, {"login", "ada@example.com"}, "pw");
        m_keychain.available = true;
        QCOMPARE(result.status, 1);
        QVERIFY2(result.err.startsWith("Your sign-in can't be remembered"), qPrintable(result.err));
    }

    void argumentMistakes_data()
    {
        QTest::addColumn<QStringList>("arguments");
        QTest::addColumn<int>("status");
        QTest::addColumn<QString>("firstLine");
        QTest::newRow("help") << QStringList{"--help"} << 0 << "Usage:";
        QTest::newRow("no question") << QStringList{"ask"} << 2 << "ovrin: ask takes one question";
        QTest::newRow("unknown option") << QStringList{"transcribe", "a.wav", "--fast"} << 2
                                        << "ovrin: unknown option \"--fast\" for transcribe";
    }

    void argumentMistakes()
    {
        QFETCH(QStringList, arguments);
        QFETCH(int, status);
        QFETCH(QString, firstLine);
        Backend backend(QUrl("http://127.0.0.1:9"));
        const Run result = run(backend, arguments);
        QCOMPARE(result.status, status);
        const QString shown = status == 0 ? result.out : result.err;
        QCOMPARE(shown.section('\n', 0, 0), firstLine);
        QVERIFY(shown.contains("ovrin ask QUESTION [--context TEXT]"));
    }
};

QTEST_GUILESS_MAIN(TestCommandLineTool)
#include "TestCommandLineTool.moc"
