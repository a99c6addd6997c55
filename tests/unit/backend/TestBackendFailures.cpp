// How calls fail: HTTP errors, bodies of the wrong shape, dead, broken and silent servers.
#include "BackendRig.h"

#include "backend/DecodingError.h"

#include <QJsonArray>
#include <QJsonDocument>
#include <QTemporaryDir>

using Kind = BackendError::Kind;

namespace {

const QString unexpected = QStringLiteral("Unexpected response from the backend.");

// An address where nothing listens: a port that was free a moment ago.
QUrl deadAddress()
{
    QTcpServer probe;
    if (!probe.listen(QHostAddress::LocalHost, 0))
        qFatal("no free port");
    return QUrl(QStringLiteral("http://127.0.0.1:%1").arg(probe.serverPort()));
}

QString unreachable(const QUrl &base)
{
    return "Can't reach the backend. Is it running on " + base.toString() + "?";
}

// `object` with `field` set to `value`, or removed when `value` is undefined.
QJsonObject record(QJsonObject object, const QString &field = {},
                   const QJsonValue &value = QJsonValue::Undefined)
{
    if (value.isUndefined())
        object.remove(field);
    else
        object.insert(field, value);
    return object;
}

const QJsonObject task{{"id", "t1"},
                       {"title", "Call"},
                       {"done", false},
                       {"description", ""},
                       {"project", QJsonValue::Null},
                       {"date", "2026-11-15T18:23:44.123Z"}};
const QJsonObject meeting{{"id", "m1"},      {"title", "Sync"},   {"transcript", "Hi."},
                          {"notes", "- hi"}, {"durationSec", 61}, {"date", "2026-11-15T18:23:44Z"}};
const QJsonObject user{{"id", "u1"},
                       {"email", "ada@example.com"},
                       {"name", "Ada"},
                       {"picture", ""},
                       {"provider", "google"}};

} // namespace

class TestBackendFailures : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void statusErrors_data()
    {
        QTest::addColumn<int>("status");
        QTest::addColumn<QByteArray>("body");
        QTest::addColumn<QString>("message");
        QTest::newRow("error text")
            << 422 << QByteArray(R"({"error":"Email taken"})") << "Email taken";
        const QByteArray html = "<html><body><h1>502 Bad Gateway</h1></body></html>\n";
        QTest::newRow("html") << 502 << html << QString::fromUtf8(html);
        QTest::newRow("not UTF-8") << 400 << QByteArray("\xff\xfe") << "";
    }

    void statusErrors()
    {
        QFETCH(int, status);
        QFETCH(QByteArray, body);
        QFETCH(QString, message);
        BackendRig rig;
        rig.server.on("GET", "/thing").status(status).body(body);
        const auto outcome = rig.run(rig.backend.send(rig.backend.makeRequest("thing", "GET")));
        VERIFY_BACKEND_ERROR(outcome, Kind::http,
                             QStringLiteral("Backend error %1: ").arg(status) + message);
        QCOMPARE(outcome.errorAs<BackendError>()->status(), status);
        QCOMPARE(outcome.errorAs<BackendError>()->message(), message);
    }

    void successBodies_data()
    {
        QTest::addColumn<int>("status");
        QTest::addColumn<QByteArray>("body");
        QTest::addColumn<QString>("error"); // empty: success
        QTest::newRow("200 empty") << 200 << QByteArray() << QString();
        QTest::newRow("204") << 204 << QByteArray() << QString();
        QTest::newRow("object") << 201 << QByteArray(R"({"a":1})") << QString();
        QTest::newRow("array") << 200 << QByteArray("[1,2]") << unexpected;
        QTest::newRow("not JSON") << 200 << QByteArray("<html>") << "decoding";
    }

    void successBodies()
    {
        QFETCH(int, status);
        QFETCH(QByteArray, body);
        QFETCH(QString, error);
        BackendRig rig;
        rig.server.on("POST", "/thing").status(status).body(body);
        const auto outcome = rig.run(rig.backend.send(rig.backend.makeRequest("thing", "POST")));
        if (error.isEmpty()) {
            VERIFY_SUCCEEDED(outcome);
            QCOMPARE(*outcome.value, QJsonDocument::fromJson(body).object());
        } else if (error == "decoding") {
            QVERIFY(outcome.errorAs<DecodingError>());
            QVERIFY(!outcome.errorAs<BackendError>());
        } else {
            VERIFY_BACKEND_ERROR(outcome, Kind::badResponse, error);
        }
    }

    void nothingListening_data()
    {
        QTest::addColumn<QString>("call");
        for (const char *call : {"send", "ask", "upload"})
            QTest::newRow(call) << QString::fromLatin1(call);
    }

    void nothingListening()
    {
        QFETCH(QString, call);
        const QUrl base = deadAddress();
        Backend backend(base);
        const auto start = [&]() -> QCoro::Task<void> {
            if (call == "send")
                return discard(backend.send(backend.makeRequest("thing", "GET")));
            if (call == "ask")
                return discard(backend.ask("Hi?", {}, {}, {}, {}));
            return backend.uploadRecording(base.resolved(QUrl("/b/k")),
                                           QCoreApplication::applicationFilePath());
        };
        const auto outcome = BackendRig::run(start());
        VERIFY_BACKEND_ERROR(outcome, Kind::notReachable, unreachable(base));

        // The checks that never throw say "no".
        QCOMPARE(TaskOutcome<bool>::settle(backend.health()).value, std::optional(false));
        QCOMPARE(TaskOutcome<bool>::settle(backend.googleAvailable()).value, std::optional(false));
    }

    void brokenConnections()
    {
        BackendRig rig;
        rig.server.on("GET", "/history").truncated(R"({"entries":[)", 4096);
        VERIFY_BACKEND_ERROR(rig.run(rig.backend.history(std::nullopt)), Kind::notReachable,
                             unreachable(rig.server.baseURL()));

        QStringList deltas;
        rig.server.on("POST", "/ask").line({{"delta", "One "}}).line({{"delta", "two"}}, 5).drop();
        const auto asked = rig.run(
            rig.backend.ask("Count", {}, {}, [&](const QString &delta) { deltas << delta; }, {}));
        VERIFY_BACKEND_ERROR(asked, Kind::notReachable, unreachable(rig.server.baseURL()));
        QCOMPARE(deltas, (QStringList{"One ", "two"}));
    }

    void cancellingASilentCall_data()
    {
        QTest::addColumn<QString>("call");
        QTest::newRow("ask") << QStringLiteral("ask");
        QTest::newRow("transcribe") << QStringLiteral("transcribe");
    }

    void cancellingASilentCall()
    {
        QFETCH(QString, call);
        BackendRig rig;
        rig.server.on("POST", "/" + call).silent();
        CancellationToken cancel;
        QObject::connect(
            &rig.server, &FakeBackendServer::requestReceived, &rig.server,
            [cancel]() mutable { cancel.cancel(); }, Qt::QueuedConnection);

        // Settling gives up after seconds, long before the client's own time-outs.
        const auto outcome = call == "ask" ? rig.run(rig.backend.ask("Hi?", {}, {}, {}, {}, cancel))
                                           : rig.run(rig.backend.transcribe("RIFF", false, cancel));
        VERIFY_BACKEND_ERROR(outcome, Kind::notReachable, unreachable(rig.server.baseURL()));
        QCOMPARE(rig.server.requestCount(), 1);
    }

    // A client that goes away mid-call (at exit) ends the call; its waiting coroutines finish.
    void destroyingTheClientEndsItsCalls()
    {
        FakeBackendServer server;
        QVERIFY(server.listen());
        server.on("GET", "/tasks").silent();
        auto backend = std::make_unique<Backend>(server.baseURL());
        QObject::connect(
            &server, &FakeBackendServer::requestReceived, &server, [&backend] { backend.reset(); },
            Qt::QueuedConnection);

        const auto outcome = BackendRig::run(backend->tasks());
        QVERIFY(!backend);
        VERIFY_BACKEND_ERROR(outcome, Kind::notReachable, unreachable(server.baseURL()));
    }

    void streamRefused_data()
    {
        QTest::addColumn<int>("status");
        QTest::addColumn<QByteArrayList>("chunks");
        QTest::addColumn<QString>("description");
        QTest::addColumn<QStringList>("deltas");
        QTest::newRow("401 before the stream")
            << 401 << QByteArrayList{R"({"error":"Token expired"})"}
            << "Backend error 401: Token expired" << QStringList();
        QTest::newRow("error event")
            << 200
            << QByteArrayList{"{\"delta\":\"Part\"}\n", "{\"error\":\"Overloaded\"}\n",
                              "{\"delta\":\"never\"}\n"}
            << "Backend error 200: Overloaded" << QStringList{"Part"};
    }

    void streamRefused()
    {
        QFETCH(int, status);
        QFETCH(QByteArrayList, chunks);
        QFETCH(QString, description);
        QFETCH(QStringList, deltas);
        BackendRig rig;
        FakeReply &reply = rig.server.on("POST", "/ask").status(status);
        for (const QByteArray &chunk : chunks)
            reply.chunk(chunk);
        QStringList seen;
        const auto outcome = rig.run(
            rig.backend.ask("Hi?", {}, {}, [&](const QString &delta) { seen << delta; }, {}));
        VERIFY_BACKEND_ERROR(outcome, Kind::http, description);
        QCOMPARE(seen, deltas);
    }

    void uploadFailures()
    {
        BackendRig rig;
        QTemporaryDir dir;
        QFile file(dir.filePath("rec.wav"));
        QVERIFY(file.open(QIODevice::WriteOnly));
        file.write("RIFF");
        file.close();
        const QByteArray xml = R"(<?xml version="1.0"?><Error><Code>AccessDenied</Code></Error>)";
        rig.server.on("PUT", "/b/k").status(403).body(xml, "application/xml");
        const QUrl url = rig.server.baseURL().resolved(QUrl("/b/k?sig=1"));
        const auto refused = rig.run(rig.backend.uploadRecording(url, file.fileName()));
        VERIFY_BACKEND_ERROR(refused, Kind::http, "Backend error 403: " + QString::fromUtf8(xml));
        QCOMPARE(refused.errorAs<BackendError>()->status(), 403);

        // A recording that is gone fails before anything is sent.
        const auto missing = rig.run(rig.backend.uploadRecording(url, dir.filePath("gone.wav")));
        QVERIFY(missing.errorAs<DescribedError>());
        QVERIFY2(missing.errorDescription().contains("gone.wav"),
                 qPrintable(missing.errorDescription()));
        QCOMPARE(rig.server.requestCount(), 1);
    }

    void badRecords_data()
    {
        QTest::addColumn<QString>("call");
        QTest::addColumn<QJsonObject>("reply");
        QTest::addColumn<bool>("badResponse"); // else any decoding failure
        const auto row = [](const char *name, const char *call, const QJsonObject &reply,
                            bool badResponse = true) {
            QTest::newRow(name) << QString::fromLatin1(call) << reply << badResponse;
        };
        row("another value not a list", "history", {{"entries", QJsonArray{}}, {"next", "x"}});
        row("task without description", "tasks",
            {{"tasks", QJsonArray{record(task, "description")}}});
        row("login without token", "login", {{"user", user}});
        row("redirect missing", "connect", {});
        row("redirect not an address", "connect", {{"redirectUrl", "no address"}});
        row("presign without key", "presign", {{"uploadUrl", "https://s3.example/k"}});
        row("connection without label", "connections",
            {{"apps", QJsonArray{QJsonObject{{"slug", "slack"}, {"connected", true}}}}});
        row("created term without variants", "term",
            {{"term", QJsonObject{{"id", "d1"}, {"term", "Qt"}}}});
        row("meeting without notes", "meetings",
            {{"meetings", QJsonArray{record(meeting, "notes")}}}, false);
    }

    void badRecords()
    {
        QFETCH(QString, call);
        QFETCH(QJsonObject, reply);
        QFETCH(bool, badResponse);
        BackendRig rig;
        for (const char *method : {"GET", "POST"}) {
            for (const char *path :
                 {"/history", "/tasks", "/auth/me", "/auth/login", "/connections",
                  "/connections/slack/connect", "/dictionary", "/uploads/presign", "/meetings"})
                rig.server.on(method, path).json(reply);
        }
        const auto start = [&]() -> QCoro::Task<void> {
            if (call == "history")
                return discard(rig.backend.history(std::nullopt));
            if (call == "tasks")
                return discard(rig.backend.tasks());
            if (call == "me")
                return discard(rig.backend.me());
            if (call == "login")
                return discard(rig.backend.login("a@b", "pw"));
            if (call == "connect")
                return discard(rig.backend.connect("slack"));
            if (call == "presign")
                return discard(rig.backend.presignUpload());
            if (call == "connections")
                return discard(rig.backend.connections());
            if (call == "term")
                return discard(rig.backend.createDictionaryTerm("Qt", std::nullopt));
            return discard(rig.backend.meetings());
        };
        const auto outcome = rig.run(start());
        if (badResponse)
            VERIFY_BACKEND_ERROR(outcome, Kind::badResponse, unexpected);
        else
            QVERIFY2(outcome.errorAs<DecodingError>(), qPrintable(outcome.errorDescription()));
    }

    void googleAvailable_data()
    {
        QTest::addColumn<int>("status");
        QTest::addColumn<QByteArray>("body");
        QTest::addColumn<bool>("expected");
        QTest::newRow("true") << 200 << QByteArray(R"({"google":true})") << true;
        QTest::newRow("string true") << 200 << QByteArray(R"({"google":"true"})") << false;
        QTest::newRow("server error") << 500 << QByteArray(R"({"google":true})") << false;
    }

    void googleAvailable()
    {
        QFETCH(int, status);
        QFETCH(QByteArray, body);
        QFETCH(bool, expected);
        BackendRig rig;
        rig.server.on("GET", "/auth/config").status(status).body(body);
        QCOMPARE(rig.run(rig.backend.googleAvailable()).value, std::optional(expected));
    }
};

QTEST_GUILESS_MAIN(TestBackendFailures)
#include "TestBackendFailures.moc"
