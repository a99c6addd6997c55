// The application's own backend client against a real ovrin-server on a free port.
#include "backend/Backend.h"
#include "backend/TokenProvider.h"
#include "support/TaskOutcome.h"

#include <QDataStream>
#include <QProcess>
#include <QRegularExpression>
#include <QTemporaryDir>
#include <QTemporaryFile>
#include <QTest>

#include <SQLiteCpp/Database.h>
#include <SQLiteCpp/Statement.h>

namespace {

struct Token : TokenProvider
{
    QString value;
    QString bearerToken() const override { return value; }
};

// A valid recording of silence: meetings are decoded now, so junk bytes would be refused.
void writeSilentWav(QTemporaryFile &file, int seconds)
{
    const quint32 rate = 16000, bytes = rate * 2 * quint32(seconds);
    QByteArray wav;
    QDataStream out(&wav, QIODevice::WriteOnly);
    out.setByteOrder(QDataStream::LittleEndian);
    out.writeRawData("RIFF", 4);
    out << quint32(36 + bytes);
    out.writeRawData("WAVEfmt ", 8);
    out << quint32(16) << quint16(1) << quint16(1) << rate << rate * 2 << quint16(2) << quint16(16);
    out.writeRawData("data", 4);
    out << bytes;
    wav.append(QByteArray(bytes, '\0'));
    QVERIFY(file.open());
    file.write(wav);
    file.close();
}

template <class T> TaskOutcome<T> run(QCoro::Task<T> task)
{
    return TaskOutcome<T>::settle(std::move(task));
}

} // namespace

class TestServerContract : public QObject
{
    Q_OBJECT

    QTemporaryDir m_data;
    QProcess m_server;
    std::unique_ptr<Backend> m_backend;
    Token m_token;

private Q_SLOTS:
    void initTestCase()
    {
        m_server.start(QStringLiteral(SERVER_BINARY), {"--port", "0", "--data", m_data.path()});
        QVERIFY(m_server.waitForReadyRead(10000));
        const QString banner = QString::fromUtf8(m_server.readLine());
        const auto port = QRegularExpression("127\\.0\\.0\\.1:(\\d+)").match(banner).captured(1);
        QVERIFY2(!port.isEmpty(), qPrintable(banner));
        QVERIFY(banner.contains(m_data.path()));
        m_backend = std::make_unique<Backend>(QUrl("http://127.0.0.1:" + port));
        m_backend->setTokenProvider(&m_token);
        QCOMPARE(run(m_backend->health()).value, std::optional(true));
    }

    void cleanupTestCase()
    {
        m_backend.reset(); // closes its connections
        m_server.terminate();
        QVERIFY(m_server.waitForFinished(5000));
        QCOMPARE(m_server.exitCode(), 0);
    }

    void accounts()
    {
        const auto registered =
            run(m_backend->registerAccount("ada@example.com", "correct horse", "Ada Lovelace"));
        QVERIFY2(registered.value, qPrintable(registered.errorDescription()));
        QCOMPARE(registered.value->user.email, QStringLiteral("ada@example.com"));
        QCOMPARE(registered.value->user.initials(), QStringLiteral("AL"));

        QCOMPARE(run(m_backend->registerAccount("ADA@example.com", "another one", ""))
                     .errorDescription(),
                 QStringLiteral("Backend error 409: Email taken"));
        QCOMPARE(run(m_backend->registerAccount("bob@example.com", "short", "")).errorDescription(),
                 QStringLiteral("Backend error 400: Choose a password of at least 8 characters."));

        const auto signedIn = run(m_backend->login("ada@example.com", "correct horse"));
        QVERIFY2(signedIn.value, qPrintable(signedIn.errorDescription()));
        QVERIFY(signedIn.value->token != registered.value->token);

        QCOMPARE(run(m_backend->me()).errorDescription(),
                 QStringLiteral("Backend error 401: Sign in first."));
        m_token.value = signedIn.value->token;
        const auto me = run(m_backend->me());
        QVERIFY2(me.value, qPrintable(me.errorDescription()));
        QCOMPARE(*me.value, registered.value->user);
        QCOMPARE(run(m_backend->googleAvailable()).value, std::optional(false));
    }

    void historyAndDictionary()
    {
        QVERIFY(!run(m_backend->addHistory("dictation", "Hello there.")).error);
        QVERIFY(!run(m_backend->addHistory("question", "What time is it?")).error);
        QCOMPARE(run(m_backend->addHistory("shout", "x")).errorDescription(),
                 QStringLiteral("Backend error 400: Unknown history kind \"shout\"."));
        QCOMPARE(run(m_backend->history(std::nullopt)).value->size(), 2);
        const auto transcripts = run(m_backend->history(QStringLiteral("transcripts")));
        QVERIFY2(transcripts.value, qPrintable(transcripts.errorDescription()));
        QCOMPARE(transcripts.value->size(), 1);
        QCOMPARE(transcripts.value->first().kind, EntryKind::dictation);
        QVERIFY(!run(m_backend->clearHistory(QStringLiteral("chat"))).error);
        QCOMPARE(run(m_backend->history(std::nullopt)).value->size(), 1);

        const auto first =
            run(m_backend->createDictionaryTerm("Kubernetes", QStringLiteral("cube")));
        QVERIFY2(first.value, qPrintable(first.errorDescription()));
        const auto merged =
            run(m_backend->createDictionaryTerm("kubernetes", QStringLiteral("koo")));
        QCOMPARE(merged.value->id, first.value->id);
        QCOMPARE(merged.value->variants, (QStringList{"cube", "koo"}));
        QCOMPARE(run(m_backend->dictionary()).value->size(), 1);
    }

    void assistantListsDecodeStrictly()
    {
        const auto me = run(m_backend->me());
        QVERIFY(me.value);
        {
            SQLite::Database db((m_data.path() + "/ovrin.db").toStdString(),
                                SQLite::OPEN_READWRITE);
            const std::string user = me.value->id.toStdString();
            db.exec("INSERT INTO projects VALUES ('p1', '" + user +
                    "', 'Garden', '[\"yard\"]', '')");
            db.exec("INSERT INTO tasks (id, user_id, title, project, date) VALUES ('t1', '" + user +
                    "', 'Water plants', 'p1', '2026-11-22T09:00:00.000Z')");
            db.exec("INSERT INTO tasks (id, user_id, title, date) VALUES ('t2', '" + user +
                    "', 'Call Bob', '2026-11-22T09:00:00.000Z')");
            db.exec("INSERT INTO reminders VALUES ('r1', '" + user +
                    "', 'Past', '2020-01-01T00:00:00.000Z', '2020-01-01T00:00:00.000Z', '')");
            db.exec(
                "INSERT INTO memories VALUES ('m1', '" + user +
                "', 'Likes tea', 'taste', 'long', '[\"p1\"]', 'chat', '2026-11-22T09:00:00.000Z')");
        }
        const auto tasks = run(m_backend->tasks());
        QVERIFY2(tasks.value, qPrintable(tasks.errorDescription()));
        QCOMPARE(tasks.value->size(), 2);
        QVERIFY(!run(m_backend->completeTask("t1", true)).error);
        QVERIFY(!run(m_backend->deleteTask("t2")).error);
        const auto after = run(m_backend->tasks());
        QCOMPARE(after.value->size(), 1);
        QVERIFY(after.value->first().done && after.value->first().completedAt);
        QCOMPARE(after.value->first().project, std::optional<QString>("p1"));
        QVERIFY(run(m_backend->reminders()).value->first().fired);
        QCOMPARE(run(m_backend->memories()).value->first().projects, QStringList{"p1"});
        QCOMPARE(run(m_backend->projects()).value->first().aliases, QStringList{"yard"});
        QVERIFY(run(m_backend->connections()).value->isEmpty());
        QCOMPARE(run(m_backend->connect("slack")).errorDescription(),
                 QStringLiteral(
                     "Backend error 501: No connection provider is configured on this server."));
    }

    void meetingUploadSequence()
    {
        QTemporaryFile recording;
        writeSilentWav(recording, 3);

        const auto upload = run(m_backend->presignUpload());
        QVERIFY2(upload.value, qPrintable(upload.errorDescription()));
        QUrl tampered = upload.value->uploadURL;
        tampered.setQuery(tampered.query().replace("sig=", "sig=0"));
        QCOMPARE(
            run(m_backend->uploadRecording(tampered, recording.fileName())).errorDescription(),
            QStringLiteral("Backend error 403: {\"error\":\"The upload address is not valid.\"}"));
        QUrl pathy = upload.value->uploadURL;
        pathy.setPath("/uploads/..%2Fovrin.db");
        QVERIFY(run(m_backend->uploadRecording(pathy, recording.fileName())).error);

        QVERIFY(
            !run(m_backend->uploadRecording(upload.value->uploadURL, recording.fileName())).error);
        const auto meeting = run(m_backend->createMeeting(upload.value->key, 61));
        QVERIFY2(meeting.value, qPrintable(meeting.errorDescription()));
        QCOMPARE(meeting.value->durationSec, 61);
        QVERIFY(!meeting.value->notes.isEmpty());
        QVERIFY(QFile::exists(m_data.path() + "/recordings/" + meeting.value->id + ".wav"));
        QCOMPARE(run(m_backend->createMeeting(upload.value->key, 61)).errorDescription(),
                 QStringLiteral(
                     "Backend error 404: No upload with that key: upload the recording first."));

        QCOMPARE(run(m_backend->meetings()).value->first().id, meeting.value->id);
        QVERIFY(!run(m_backend->deleteMeeting(meeting.value->id)).error);
        QVERIFY(run(m_backend->meetings()).value->isEmpty());
        QVERIFY(!QFile::exists(m_data.path() + "/recordings/" + meeting.value->id + ".wav"));
    }

    void usersSeeOnlyTheirOwnRows()
    {
        // Ada keeps a meeting, so every kind of row has one of hers to aim at.
        QTemporaryFile recording;
        writeSilentWav(recording, 1);
        const auto upload = run(m_backend->presignUpload());
        QVERIFY(
            !run(m_backend->uploadRecording(upload.value->uploadURL, recording.fileName())).error);
        const QString meeting = run(m_backend->createMeeting(upload.value->key, 1)).value->id;
        const QString term = run(m_backend->dictionary()).value->first().id;
        const auto adaSees = [this] {
            return QList<qsizetype>{run(m_backend->history(std::nullopt)).value->size(),
                                    run(m_backend->dictionary()).value->size(),
                                    run(m_backend->tasks()).value->size(),
                                    run(m_backend->reminders()).value->size(),
                                    run(m_backend->memories()).value->size(),
                                    run(m_backend->projects()).value->size(),
                                    run(m_backend->meetings()).value->size()};
        };
        const auto before = adaSees();
        QCOMPARE(before, (QList<qsizetype>{1, 1, 1, 1, 1, 1, 1}));

        const QString ada = m_token.value;
        const auto bob =
            run(m_backend->registerAccount("bob@example.com", "bob's password", "Bob"));
        QVERIFY(bob.value);
        m_token.value = bob.value->token;
        QCOMPARE(adaSees(), (QList<qsizetype>{0, 0, 0, 0, 0, 0, 0}));
        const QString missing =
            QStringLiteral("Backend error 404: Nothing to delete: no such item.");
        const QStringList paths{"tasks/t1", "reminders/r1", "memories/m1", "dictionary/" + term};
        for (const QString &path : paths)
            QCOMPARE(
                run(m_backend->send(m_backend->makeRequest(path, "DELETE"))).errorDescription(),
                missing);
        QCOMPARE(run(m_backend->deleteMeeting(meeting)).errorDescription(),
                 QStringLiteral("Backend error 404: Nothing to delete: no such meeting."));
        QCOMPARE(run(m_backend->completeTask("t1", false)).errorDescription(),
                 QStringLiteral("Backend error 404: No such task."));
        QVERIFY(!run(m_backend->clearHistory(std::nullopt)).error);
        // Bob's dictionary term of the same spelling is his own, not a variant of Ada's.
        QVERIFY(run(m_backend->createDictionaryTerm("Kubernetes", QStringLiteral("kates"))).value);
        m_token.value = ada;
        QCOMPARE(adaSees(), before);
        QCOMPARE(run(m_backend->dictionary()).value->first().variants,
                 (QStringList{"cube", "koo"}));
    }

    void refusalsLookAlikeAndAreRateLimited()
    {
        const QString wrong = QStringLiteral("Backend error 401: Wrong email or password.");
        QCOMPARE(run(m_backend->login("nobody@example.com", "whatever1")).errorDescription(),
                 wrong);
        for (int i = 0; i < 5; ++i)
            QCOMPARE(run(m_backend->login("ada@example.com", "wrong password")).errorDescription(),
                     wrong);
        QCOMPARE(
            run(m_backend->login("ada@example.com", "correct horse")).errorDescription(),
            QStringLiteral("Backend error 429: Too many sign-in attempts. Try again in a minute."));
    }

    void passwordsAreNotStoredInClear()
    {
        SQLite::Database db((m_data.path() + "/ovrin.db").toStdString(), SQLite::OPEN_READONLY);
        SQLite::Statement query(db, "SELECT password_hash FROM users");
        QVERIFY(query.executeStep());
        const std::string hash = query.getColumn(0).getString();
        QVERIFY(hash.rfind("$argon2id$", 0) == 0);
        QVERIFY(hash.find("correct horse") == std::string::npos);
        SQLite::Statement tokens(db, "SELECT token_hash FROM tokens");
        while (tokens.executeStep())
            QVERIFY(QString::fromStdString(tokens.getColumn(0).getString()) != m_token.value);
    }

    void oversizedAndUnknownRequestsGetJsonErrors()
    {
        BackendRequest big = m_backend->makeRequest("auth/login", "POST");
        Backend::setJsonBody(big, QJsonObject{{"email", QString(2 << 20, 'x')}});
        QCOMPARE(run(m_backend->send(std::move(big))).errorDescription(),
                 QStringLiteral(
                     "Backend error 413: Request too large: JSON bodies are limited to 1 MiB."));
        QCOMPARE(
            run(m_backend->send(m_backend->makeRequest("no/such/route", "GET"))).errorDescription(),
            QStringLiteral("Backend error 404: No such endpoint."));
    }
};

QTEST_GUILESS_MAIN(TestServerContract)
#include "TestServerContract.moc"
