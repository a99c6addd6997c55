// What the client puts on the wire, as the fake server receives it.
#include "BackendRig.h"

#include <QJsonArray>
#include <QJsonDocument>
#include <QRegularExpression>
#include <QTemporaryFile>

namespace {

const QJsonObject meeting{{"id", "m1"},      {"title", "Sync"},   {"transcript", "Hi."},
                          {"notes", "- hi"}, {"durationSec", 61}, {"date", "2026-11-15T18:23:44Z"}};

QByteArray compact(const QJsonObject &object)
{
    return QJsonDocument(object).toJson(QJsonDocument::Compact);
}

// The boundary a multipart Content-Type names, or empty when the type is anything else.
QByteArray boundaryOf(const FakeRequest &request)
{
    static const QRegularExpression form(
        "^multipart/form-data; boundary=(Boundary-[0-9A-F]{8}-[0-9A-F]{4}-[0-9A-F]{4}-"
        "[0-9A-F]{4}-[0-9A-F]{12})$");
    return form.match(QString::fromLatin1(request.header("Content-Type"))).captured(1).toLatin1();
}

QByteArray filePart(const QByteArray &boundary, const QByteArray &disposition,
                    const QByteArray &type, const QByteArray &bytes)
{
    return "--" + boundary + "\r\nContent-Disposition: form-data; " + disposition +
           "\r\nContent-Type: " + type + "\r\n\r\n" + bytes + "\r\n";
}

QByteArray fieldPart(const QByteArray &boundary, const QByteArray &name, const QByteArray &value)
{
    return "--" + boundary + "\r\nContent-Disposition: form-data; name=\"" + name + "\"\r\n\r\n" +
           value + "\r\n";
}

// The calls of the table tests, by row name.
QCoro::Task<void> call(Backend &backend, const QString &name)
{
    const QString term = QStringLiteral("Kubernetes");
    if (name == "history")
        return discard(backend.history(std::nullopt));
    if (name == "chat history")
        return discard(backend.history(QStringLiteral("chat")));
    if (name == "clear transcripts")
        return backend.clearHistory(QStringLiteral("transcripts"));
    if (name == "clear a scope with a space")
        return backend.clearHistory(QStringLiteral("to do"));
    if (name == "delete task")
        return backend.deleteTask(QStringLiteral("t1"));
    if (name == "add history")
        return backend.addHistory(QStringLiteral("dictation"), QStringLiteral("Héllo\n\"there\""));
    if (name == "term")
        return discard(backend.createDictionaryTerm(term, std::nullopt));
    if (name == "term, empty variant")
        return discard(backend.createDictionaryTerm(term, QString()));
    if (name == "term with variant")
        return discard(backend.createDictionaryTerm(term, QStringLiteral("cube eighties")));
    if (name == "complete task")
        return backend.completeTask(QStringLiteral("t1"), true);
    if (name == "create meeting")
        return discard(backend.createMeeting(QStringLiteral("rec/a.wav"), 4'000'000'000));
    if (name == "connect")
        return discard(backend.connect(QStringLiteral("slack")));
    if (name == "presign")
        return discard(backend.presignUpload());
    qFatal("no call named %s", qPrintable(name));
}

} // namespace

class TestBackendRequests : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void transcribe_data()
    {
        QTest::addColumn<bool>("cleanup");
        QTest::newRow("plain") << false;
        QTest::newRow("cleanup") << true;
    }

    void transcribe()
    {
        QFETCH(bool, cleanup);
        BackendRig rig;
        rig.server.on("POST", "/transcribe").json({{"text", "hello world"}});
        const QByteArray wav("RIFF\0\0\r\n--x\xff", 12);

        const auto outcome = rig.run(rig.backend.transcribe(wav, cleanup));
        VERIFY_SUCCEEDED(outcome);
        QCOMPARE(*outcome.value, QStringLiteral("hello world"));
        const FakeRequest request = rig.server.lastRequest();
        QCOMPARE(request.method, QByteArray("POST"));
        QCOMPARE(request.target, QStringLiteral("/transcribe"));
        const QByteArray boundary = boundaryOf(request);
        QVERIFY2(!boundary.isEmpty(), request.header("Content-Type"));
        QByteArray expected =
            filePart(boundary, R"(name="file"; filename="audio.wav")", "audio/wav", wav);
        if (cleanup)
            expected += fieldPart(boundary, "cleanup", "true");
        QCOMPARE(request.body, expected + "--" + boundary + "--\r\n");
        QCOMPARE(request.body.count("--" + boundary), cleanup ? 3 : 2);

        rig.run(rig.backend.transcribe(wav, cleanup));
        QVERIFY(boundaryOf(rig.server.lastRequest()) != boundary);
    }

    void transcriptionStream()
    {
        BackendRig rig;
        rig.server.on("POST", "/transcribe/stream").json({{"stream", "ab12"}});
        rig.server.on("POST", "/transcribe/stream/ab12/audio").json({{"received", 2}});
        rig.server.on("POST", "/transcribe/stream/ab12/finish").json({{"text", "streamed"}});
        rig.server.on("DELETE", "/transcribe/stream/ab12").status(204);

        const auto opened = rig.run(rig.backend.openTranscriptionStream(48000, true));
        VERIFY_SUCCEEDED(opened);
        QCOMPARE(*opened.value, QStringLiteral("ab12"));
        QCOMPARE(QJsonDocument::fromJson(rig.server.lastRequest().body).object(),
                 (QJsonObject{{"sampleRate", 48000}, {"cleanup", true}}));

        const QByteArray pcm("\x01\x00\xff\x7f", 4);
        VERIFY_SUCCEEDED(rig.run(rig.backend.sendTranscriptionAudio("ab12", 3, pcm)));
        const FakeRequest audio = rig.server.lastRequest();
        QCOMPARE(audio.target, QStringLiteral("/transcribe/stream/ab12/audio?seq=3"));
        QCOMPARE(audio.header("Content-Type"), QByteArray("application/octet-stream"));
        QCOMPARE(audio.body, pcm);

        const auto finished = rig.run(rig.backend.finishTranscriptionStream("ab12"));
        VERIFY_SUCCEEDED(finished);
        QCOMPARE(*finished.value, QStringLiteral("streamed"));

        rig.backend.dropTranscriptionStream("ab12");
        QTRY_COMPARE(rig.server.lastRequest().method, QByteArray("DELETE"));
        QCOMPARE(rig.server.lastRequest().target, QStringLiteral("/transcribe/stream/ab12"));

        // An answer without its stream or text is a bad response, not an empty stream.
        rig.server.on("POST", "/transcribe/stream").json({{"id", "ab12"}});
        QVERIFY(!rig.run(rig.backend.openTranscriptionStream(16000, false)).value);
    }

    void askImage_data()
    {
        QTest::addColumn<QString>("question");
        QTest::newRow("question") << QStringLiteral("Qu'est-ce que c'est ? 🐈");
        QTest::newRow("no question") << QString();
    }

    void askImage()
    {
        QFETCH(QString, question);
        BackendRig rig;
        rig.server.on("POST", "/ask-image").line({{"delta", "A "}}).line({{"answer", "A cat."}});
        const QByteArray jpeg("\xff\xd8\xff\xe0\r\n--jpeg", 12);
        QStringList deltas;

        const auto outcome = rig.run(
            rig.backend.askImage(question, jpeg, [&](const QString &delta) { deltas << delta; }));
        VERIFY_SUCCEEDED(outcome);
        QCOMPARE(*outcome.value, QStringLiteral("A cat."));
        QCOMPARE(deltas, QStringList{"A "});
        const FakeRequest request = rig.server.lastRequest();
        QCOMPARE(request.target, QStringLiteral("/ask-image"));
        const QByteArray boundary = boundaryOf(request);
        QVERIFY2(!boundary.isEmpty(), request.header("Content-Type"));
        QByteArray expected =
            filePart(boundary, R"(name="image"; filename="screen.jpg")", "image/jpeg", jpeg);
        if (!question.isEmpty())
            expected += fieldPart(boundary, "question", question.toUtf8());
        expected += fieldPart(boundary, "now", rig.backend.deviceNow().toUtf8());
        QCOMPARE(request.body, expected + "--" + boundary + "--\r\n");
    }

    void askBody_data()
    {
        QTest::addColumn<QString>("context");
        QTest::addColumn<QStringList>("apps");
        QTest::newRow("question only") << QString() << QStringList();
        QTest::newRow("context") << QStringLiteral("Selected text") << QStringList();
        QTest::newRow("apps") << QString() << QStringList{"Mail", "Notes"};
        QTest::newRow("both") << QStringLiteral("Earlier: hi") << QStringList{"Mail"};
    }

    void askBody()
    {
        QFETCH(QString, context);
        QFETCH(QStringList, apps);
        BackendRig rig;
        rig.server.on("POST", "/ask").line({{"answer", "Done."}});

        const auto outcome =
            rig.run(rig.backend.ask(QStringLiteral("Open mail"), context, apps, {}, {}));
        VERIFY_SUCCEEDED(outcome);
        QJsonObject expected{{"question", "Open mail"}, {"now", rig.backend.deviceNow()}};
        if (!context.isEmpty())
            expected.insert("context", context);
        if (!apps.isEmpty())
            expected.insert("apps", QJsonArray::fromStringList(apps));
        const FakeRequest request = rig.server.lastRequest();
        QCOMPARE(request.header("Content-Type"), QByteArray("application/json"));
        QCOMPARE(compact(request.json()), compact(expected));
    }

    void routes_data()
    {
        QTest::addColumn<QByteArray>("method");
        QTest::addColumn<QString>("target");
        QTest::addColumn<QByteArray>("body");
        const auto row = [](const char *call, const char *method, const char *target,
                            const QByteArray &body = {}) {
            QTest::newRow(call) << QByteArray(method) << QString::fromLatin1(target) << body;
        };
        row("history", "GET", "/history");
        row("chat history", "GET", "/history?scope=chat");
        row("clear transcripts", "DELETE", "/history?scope=transcripts");
        // Never "/history" alone, which would clear every scope.
        row("clear a scope with a space", "DELETE", "/history?scope=to%20do");
        row("delete task", "DELETE", "/tasks/t1");
        row("add history", "POST", "/history",
            compact({{"kind", "dictation"}, {"text", "Héllo\n\"there\""}}));
        row("term", "POST", "/dictionary", compact({{"term", "Kubernetes"}}));
        row("term, empty variant", "POST", "/dictionary", compact({{"term", "Kubernetes"}}));
        row("term with variant", "POST", "/dictionary",
            compact({{"term", "Kubernetes"}, {"variant", "cube eighties"}}));
        row("complete task", "POST", "/tasks/t1/complete", R"({"done":true})");
        row("create meeting", "POST", "/meetings",
            R"({"durationSec":4000000000,"key":"rec/a.wav"})");
        row("connect", "POST", "/connections/slack/connect", "{}");
        row("presign", "POST", "/uploads/presign", "{}");
    }

    void routes()
    {
        QFETCH(QByteArray, method);
        QFETCH(QString, target);
        QFETCH(QByteArray, body);
        BackendRig rig;
        rig.server.on("GET", "/history").json({{"entries", QJsonArray()}});
        rig.server.on("DELETE", "/history").status(204);
        rig.server.on("DELETE", "/tasks/t1").status(204);
        rig.server.on("POST", "/history").status(201).json({{"id", "h1"}});
        const QJsonObject term{{"id", "d1"}, {"term", "Kubernetes"}, {"variants", QJsonArray()}};
        rig.server.on("POST", "/dictionary").json({{"term", term}});
        rig.server.on("POST", "/tasks/t1/complete").status(204);
        rig.server.on("POST", "/meetings").json({{"meeting", meeting}});
        rig.server.on("POST", "/connections/slack/connect")
            .json({{"redirectUrl", "https://slack.example/oauth"}});
        // Older backends name the address "url".
        rig.server.on("POST", "/uploads/presign")
            .json({{"url", "https://s3.example/b/k"}, {"key", "k"}});

        const auto outcome = rig.run(call(rig.backend, QTest::currentDataTag()));
        VERIFY_SUCCEEDED(outcome);
        QCOMPARE(rig.server.requestCount(), 1);
        const FakeRequest request = rig.server.lastRequest();
        QCOMPARE(request.method, method);
        QCOMPARE(request.target, target);
        QCOMPARE(request.body, body);
        if (!body.isEmpty())
            QCOMPARE(request.header("Content-Type"), QByteArray("application/json"));
    }

    void presignAddress_data()
    {
        QTest::addColumn<QJsonObject>("reply");
        QTest::addColumn<QString>("expected"); // empty: badResponse
        const QString upload = QStringLiteral("https://s3.example/b/k?sig=1");
        const QString older = QStringLiteral("https://s3.example/older");
        QTest::newRow("uploadUrl")
            << QJsonObject{{"uploadUrl", upload}, {"url", older}, {"key", "k"}} << upload;
        QTest::newRow("url only") << QJsonObject{{"url", older}, {"key", "k"}} << older;
        QTest::newRow("uploadUrl null")
            << QJsonObject{{"uploadUrl", QJsonValue::Null}, {"url", older}, {"key", "k"}} << older;
        QTest::newRow("no address") << QJsonObject{{"uploadUrl", 5}, {"key", "k"}} << QString();
        QTest::newRow("relative") << QJsonObject{{"uploadUrl", "/b/k"}, {"key", "k"}} << QString();
    }

    void presignAddress()
    {
        QFETCH(QJsonObject, reply);
        QFETCH(QString, expected);
        BackendRig rig;
        rig.server.on("POST", "/uploads/presign").json(reply);
        const auto outcome = rig.run(rig.backend.presignUpload());
        if (expected.isEmpty()) {
            VERIFY_BACKEND_ERROR(outcome, BackendError::Kind::badResponse,
                                 "Unexpected response from the backend.");
            return;
        }
        VERIFY_SUCCEEDED(outcome);
        QCOMPARE(outcome.value->uploadURL, QUrl(expected));
        QCOMPARE(outcome.value->key, QStringLiteral("k"));
    }

    void authorization_data()
    {
        QTest::addColumn<bool>("provider");
        QTest::addColumn<QString>("token");
        QTest::newRow("signed in") << true << QStringLiteral("tok-123");
        QTest::newRow("signed out") << true << QString();
        QTest::newRow("no provider") << false << QString();
    }

    void authorization()
    {
        QFETCH(bool, provider);
        QFETCH(QString, token);
        BackendRig rig;
        rig.tokens.token = token;
        if (!provider)
            rig.backend.setTokenProvider(nullptr);
        rig.server.on("GET", "/history").json({{"entries", QJsonArray()}});
        rig.server.on("GET", "/health").status(204);

        const auto outcome = rig.run(rig.backend.history(std::nullopt));
        VERIFY_SUCCEEDED(outcome);
        const FakeRequest request = rig.server.lastRequest();
        QCOMPARE(request.hasHeader("Authorization"), !token.isEmpty());
        if (!token.isEmpty())
            QCOMPARE(request.header("Authorization"), "Bearer " + token.toUtf8());

        // The health check never carries credentials.
        QCOMPARE(*rig.run(rig.backend.health()).value, true);
        QCOMPARE(rig.server.lastRequest().target, QStringLiteral("/health"));
        QVERIFY(!rig.server.lastRequest().hasHeader("Authorization"));
    }

    void uploadStreamsTheFileToThePresignedAddress()
    {
        BackendRig rig;
        rig.tokens.token = QStringLiteral("tok");
        QByteArray recording(6 * 1024 * 1024, Qt::Uninitialized);
        for (qsizetype i = 0; i < recording.size(); ++i)
            recording[i] = char(i * 7 + (i >> 12));
        QTemporaryFile file;
        QVERIFY(file.open());
        QCOMPARE(file.write(recording), recording.size());
        file.close();
        rig.server.on("PUT", "/bucket/rec.wav").status(200);
        const QString target =
            QStringLiteral("/bucket/rec.wav?X-Amz-Signature=a%2Fb&X-Amz-Expires=300");

        const auto outcome = rig.run(rig.backend.uploadRecording(
            QUrl(rig.server.baseURL().toString() + target), file.fileName()));
        VERIFY_SUCCEEDED(outcome);
        const FakeRequest request = rig.server.lastRequest();
        QCOMPARE(request.method, QByteArray("PUT"));
        QCOMPARE(request.target, target);
        QCOMPARE(request.header("Content-Type"), QByteArray("audio/wav"));
        QVERIFY(!request.hasHeader("Authorization"));
        QCOMPARE(request.body.size(), recording.size());
        QVERIFY(request.body == recording);
    }
};

QTEST_GUILESS_MAIN(TestBackendRequests)
#include "TestBackendRequests.moc"
