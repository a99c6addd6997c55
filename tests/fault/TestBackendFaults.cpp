// Every kind of backend misbehaviour against the client and the stores: each call ends in
// its documented error, the store is left idle with what it had, and the main thread is
// never stalled for more than 50 ms.
#include "support/FakeBackendServer.h"
#include "support/FakeKeychain.h"
#include "support/MainThreadWatchdog.h"
#include "support/TaskOutcome.h"

#include "backend/Backend.h"
#include "backend/DecodingError.h"
#include "core/ManualClock.h"
#include "stores/AssistantStore.h"
#include "stores/AuthStore.h"
#include "stores/DictionaryStore.h"
#include "stores/HistoryStore.h"
#include "stores/MeetingStore.h"

#include <QFile>
#include <QJsonArray>
#include <QJsonDocument>
#include <QSignalSpy>
#include <QTemporaryDir>
#include <QTest>

#include <limits>
#include <memory>

namespace {

constexpr int maxGapMs = 50;
// Short, so a silent server costs seconds; Qt restarts it on every byte that arrives.
constexpr int transferTimeoutSeconds = 2;
constexpr qint64 hundredMB = 100 * 1024 * 1024;
constexpr qint64 pieceSize = 1024 * 1024;

const QString unexpected = QStringLiteral("Unexpected response from the backend.");
const QByteArray html = "<!DOCTYPE html><html><body><h1>Bad Gateway</h1></body></html>\n";
// PNG magic: not UTF-8.
const char binaryBytes[] = "\x89PNG\r\n\x1a\n\x00\x00\x00\rIHDR\xff\xfe";
const QByteArray binary(binaryBytes, sizeof binaryBytes - 1);

QString unreachable(const QUrl &base)
{
    return "Can't reach the backend. Is it running on " + base.toString() + "?";
}

QString notJson(const QByteArray &sample)
{
    QJsonParseError error;
    QJsonDocument::fromJson(sample, &error);
    return DecodingError::notJson(error.errorString()).description();
}

#if defined(__SANITIZE_ADDRESS__)
// AddressSanitizer keeps freed memory aside for a while: peaks say nothing there.
constexpr bool measuresMemory = false;
#else
constexpr bool measuresMemory = true;
#endif

// Peak resident memory of this process, in MB.
qint64 peakMemoryMB()
{
    QFile status(QStringLiteral("/proc/self/status"));
    if (!status.open(QIODevice::ReadOnly))
        return -1;
    for (const QByteArray &line : status.readAll().split('\n')) {
        if (line.startsWith("VmHWM:"))
            return line.mid(6).trimmed().split(' ').value(0).toLongLong() / 1024;
    }
    return -1;
}

const QJsonObject entry{
    {"id", "e1"}, {"date", "2026-11-15T18:23:00Z"}, {"kind", "dictation"}, {"text", "kept"}};
const QJsonObject term{{"id", "d1"}, {"term", "Ovrin"}, {"variants", QJsonArray{}}};
const QJsonObject meeting{{"id", "m1"},  {"title", "Sync"},   {"transcript", ""},
                          {"notes", ""}, {"durationSec", 60}, {"date", "2026-11-15T18:23:00Z"}};
const QJsonObject task{{"id", "t1"},
                       {"title", "Call"},
                       {"done", false},
                       {"description", ""},
                       {"date", "2026-11-15T18:23:00Z"}};
const QJsonObject user{{"id", "u1"},
                       {"email", "ada@example.com"},
                       {"name", "Ada"},
                       {"picture", ""},
                       {"provider", "email"}};

// Where each target's request goes, and a good reply to load the store with first.
struct Route
{
    QByteArray method;
    QString path;
    QJsonObject good;
};

Route routeOf(const QString &target)
{
    if (target == "history")
        return {"GET", "/history", {{"entries", QJsonArray{entry}}}};
    if (target == "dictionary")
        return {"GET", "/dictionary", {{"terms", QJsonArray{term}}}};
    if (target == "meetings")
        return {"GET", "/meetings", {{"meetings", QJsonArray{meeting}}}};
    if (target == "tasks")
        return {"GET", "/tasks", {{"tasks", QJsonArray{task}}}};
    if (target == "auth")
        return {"GET", "/auth/me", {{"user", user}}};
    if (target == "ask")
        return {"POST", "/ask", {}};
    return {"GET", "/thing", {}};
}

// One line of the answer stream.
QByteArray line(const QJsonObject &event)
{
    return QJsonDocument(event).toJson(QJsonDocument::Compact) + '\n';
}

// `count` delta lines of one character, as one piece.
QByteArray deltaLines(int count)
{
    const QByteArray one = line({{"delta", "x"}});
    return one.repeated(count);
}

// How a row ended.
struct Outcome
{
    bool finished = false;
    QString error; // empty: success
    QString answer;
    qint64 deltas = 0;
};

} // namespace

class TestBackendFaults : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void misbehaviour_data()
    {
        QTest::addColumn<QString>("fault");
        QTest::addColumn<QString>("target");
        // "" for success; {unreachable} is the text naming the server's address; {cut} is
        // that or the text of a reply without the expected shape.
        QTest::addColumn<QString>("error");
        QTest::addColumn<QString>("answer");
        QTest::addColumn<qint64>("deltas");

        const QStringList stores{"history", "dictionary", "meetings", "tasks", "auth"};
        QStringList all{"send"};
        all << stores << "ask";
        const auto row = [](const QString &fault, const QString &target, const QString &error,
                            const QString &answer = {}, qint64 deltas = 0) {
            QTest::addRow("%s: %s", qPrintable(fault), qPrintable(target))
                << fault << target << error << answer << deltas;
        };
        const QString unreachableText = QStringLiteral("{unreachable}");

        for (const QString &target : all) {
            row("connection refused", target, unreachableText);
            // Qt reports a chunked body cut short as an error only now and then; otherwise
            // the stream ends without its answer line, which is an empty answer.
            if (target == "ask")
                row("reset mid-body", target, "{cut}", {}, -1);
            else
                row("reset mid-body", target, unreachableText);
            row("404 JSON error", target, "Backend error 404: No such thing");
            row("503 JSON error", target, "Backend error 503: Try again later");
            row("403 HTML", target, "Backend error 403: " + QString::fromUtf8(html));
            row("502 HTML", target, "Backend error 502: " + QString::fromUtf8(html));
            // Not UTF-8: nothing of it can be shown, so the text is the status alone.
            row("400 binary", target, "Backend error 400: ");
            row("500 binary", target, "Backend error 500: ");
        }
        // The client's own transfer time-out, made short.
        for (const QString &target : all)
            row("silent server", target, unreachableText);

        // Meetings report what did not decode, as every meeting record does.
        const auto listError = [&](const QString &target, const QString &decoding) {
            return target == "meetings" ? decoding : unexpected;
        };
        row("200 JSON array", "send", unexpected);
        for (const QString &target : stores)
            row("200 JSON array", target,
                listError(target, QStringLiteral("The backend's reply is not a JSON object.")));
        // Lines that are not objects are skipped; a stream without its answer line answers
        // nothing, which the session reports as an empty answer.
        row("200 JSON array", "ask", {}, {}, 0);

        row("200 invalid UTF-8", "send", notJson("{\"a\":\"\xff\"}"));
        for (const QString &target : stores)
            row("200 invalid UTF-8", target, listError(target, notJson("{\"a\":\"\xff\"}")));
        row("200 invalid UTF-8", "ask", {}, "fine", 1);

        // Read only up to the client's limit, not held whole.
        const QString tooLarge = QStringLiteral("The backend's reply is too large (over 64 MB).");
        row("200 with 100 MB", "send", tooLarge);
        row("200 with 100 MB", "history", tooLarge);
        row("200 with 100 MB", "ask", {}, {}, -1);
        // Only the start of a huge error page becomes the message.
        row("500 with 100 MB", "send",
            "Backend error 500: {\"entries\":[" + QString(988, 'x') + QChar(0x2026));

        row("a million deltas", "ask", {}, "done", 1000000);
        row("endless stream, flowing", "ask", unreachableText);
        row("endless stream, stalled", "ask", unreachableText);
    }

    void misbehaviour()
    {
        QFETCH(QString, fault);
        QFETCH(QString, target);
        QFETCH(QString, error);
        QFETCH(QString, answer);
        QFETCH(qint64, deltas);

        auto server = std::make_unique<FakeBackendServer>();
        QVERIFY(server->listen());
        const QUrl base = server->baseURL();
        ManualClock clock{QDateTime(QDate(2026, 11, 15), QTime(18, 23))};
        Backend backend(base, &clock);
        backend.setRequestTimeoutSeconds(transferTimeoutSeconds);
        const Route route = routeOf(target);

        // The stores start with one record, which a failure must not lose.
        QTemporaryDir recordings;
        FakeKeychain keychain;
        HistoryStore history(backend, clock);
        DictionaryStore dictionary(backend);
        MeetingStore meetings(backend, recordings.path());
        AssistantStore assistant(backend);
        AuthStore auth(backend, keychain);
        backend.setTokenProvider(&auth);
        if (!route.good.isEmpty() && target != "auth")
            server->once(route.method, route.path).json(route.good);
        if (target == "history") {
            history.refresh({HistoryScope::transcripts}, true);
            QTRY_COMPARE(history.transcriptEntries().size(), 1);
        } else if (target == "dictionary") {
            dictionary.refresh();
            QTRY_COMPARE(dictionary.terms().size(), 1);
        } else if (target == "meetings") {
            meetings.refresh();
            QTRY_COMPARE(meetings.meetings().size(), 1);
        } else if (target == "tasks") {
            assistant.refreshTasks();
            QTRY_COMPARE(assistant.tasks().size(), 1);
        }

        script(*server, route, fault);
        if (fault == "connection refused")
            server.reset(); // nothing listens on the address any more

        const qint64 memoryBefore = peakMemoryMB();
        MainThreadWatchdog watchdog;
        watchdog.start();
        const Outcome outcome =
            run(backend, target, fault, history, dictionary, meetings, assistant, auth, keychain);
        watchdog.stop();
        const qint64 gap = watchdog.largestGapMs();
        qInfo("%s: largest main-thread gap %lld ms; peak memory %lld MB -> %lld MB",
              QTest::currentDataTag(), gap, memoryBefore, peakMemoryMB());

        QVERIFY2(outcome.finished, "the call did not end");
        error.replace("{unreachable}", unreachable(base));
        if (error == "{cut}")
            QVERIFY2(outcome.error == unreachable(base) || outcome.error.isEmpty(),
                     qPrintable(outcome.error));
        else
            QCOMPARE(outcome.error, error);
        QCOMPARE(outcome.answer, answer);
        if (deltas >= 0)
            QCOMPARE(outcome.deltas, deltas);

        // Idle, with what was there before.
        QCOMPARE(history.transcriptEntries().size(), target == "history" ? 1 : 0);
        QCOMPARE(dictionary.terms().size(), target == "dictionary" ? 1 : 0);
        QCOMPARE(meetings.meetings().size(), target == "meetings" ? 1 : 0);
        QCOMPARE(assistant.tasks().size(), target == "tasks" ? 1 : 0);
        if (target == "auth") {
            QVERIFY(!auth.isRestoring());
            QVERIFY(!auth.signedIn());
        }

        QVERIFY2(gap <= maxGapMs, qPrintable(QString("main thread blocked %1 ms").arg(gap)));
        if (measuresMemory && fault.contains("100 MB") && target != "ask")
            QVERIFY2(peakMemoryMB() - memoryBefore < 100,
                     qPrintable(
                         QString("peak memory grew by %1 MB").arg(peakMemoryMB() - memoryBefore)));
    }

private:
    static void script(FakeBackendServer &server, const Route &route, const QString &fault)
    {
        const bool stream = route.path == "/ask";
        FakeReply &reply = server.on(route.method, route.path);
        if (fault == "connection refused") {
            reply.json(route.good);
        } else if (fault == "reset mid-body") {
            if (stream)
                reply.line({{"delta", "Half"}}).drop();
            else
                reply.truncated("{\"entries\":[{\"id\":", 4096);
        } else if (fault == "silent server") {
            reply.silent();
        } else if (fault.endsWith("JSON error")) {
            const int status = fault.left(3).toInt();
            reply.status(status).json(
                {{"error", status == 404 ? "No such thing" : "Try again later"}});
        } else if (fault.endsWith("HTML")) {
            reply.status(fault.left(3).toInt()).body(html, "text/html");
        } else if (fault.endsWith("binary")) {
            reply.status(fault.left(3).toInt()).body(binary, "application/octet-stream");
        } else if (fault == "200 JSON array") {
            reply.jsonArray({1, 2, 3});
        } else if (fault == "200 invalid UTF-8") {
            if (stream)
                reply.chunk(line({{"delta", "fine"}}) + "{\"delta\":\"\xff\xfe\"}\n" +
                            line({{"answer", "fine"}}));
            else
                reply.body("{\"entries\":[],\"note\":\"\xff\xfe\xfd\"}", "application/json");
        } else if (fault.endsWith("with 100 MB")) {
            // One line without a break: JSON that goes wrong after its first bytes.
            reply.status(fault.left(3).toInt())
                .generated(
                    hundredMB / pieceSize,
                    [](qint64 index) {
                        QByteArray piece(pieceSize, 'x');
                        if (index == 0)
                            piece.replace(0, 12, "{\"entries\":[");
                        return piece;
                    },
                    hundredMB);
        } else if (fault == "a million deltas") {
            reply.generatedChunks(100, [](qint64) { return deltaLines(10000); })
                .line({{"answer", "done"}});
        } else if (fault == "endless stream, flowing") {
            reply.generatedChunks(std::numeric_limits<qint64>::max(),
                                  [](qint64) { return deltaLines(1000); });
        } else if (fault == "endless stream, stalled") {
            reply.line({{"delta", "Thinking"}}).hold();
        }
    }

    static BackendRequest routeRequest(Backend &backend, const Route &route)
    {
        BackendRequest request = backend.makeRequest(route.path.mid(1), route.method);
        if (route.method == "POST")
            Backend::setJsonBody(request, {{"question", "Why?"}, {"now", backend.deviceNow()}});
        return request;
    }

    template <class T> static Outcome settled(const TaskOutcome<T> &task)
    {
        Outcome outcome;
        outcome.finished = task.finished;
        outcome.error = task.errorDescription();
        // A failure message must not print megabytes.
        if (outcome.error.size() > 4096)
            outcome.error = outcome.error.first(200) +
                            QStringLiteral("… (%1 characters)").arg(outcome.error.size());
        return outcome;
    }

    // Starts a store's request and waits for its error.
    template <class Store, class Start> static Outcome storeError(Store &store, Start start)
    {
        QSignalSpy changed(&store, &Store::loadErrorChanged);
        start();
        Outcome outcome;
        outcome.finished = changed.wait(15000);
        outcome.error = store.loadError();
        return outcome;
    }

    static Outcome run(Backend &backend, const QString &target, const QString &fault,
                       HistoryStore &history, DictionaryStore &dictionary, MeetingStore &meetings,
                       AssistantStore &assistant, AuthStore &auth, FakeKeychain &keychain)
    {
        const Route route = routeOf(target);
        if (target == "send")
            return settled(TaskOutcome<QJsonObject>::settle(
                backend.send(routeRequest(backend, route)), 20000));
        if (target == "ask") {
            qint64 deltas = 0;
            CancellationToken cancel;
            if (fault == "endless stream, flowing") {
                // Such a stream ends only when the user gives up on it.
                QTimer::singleShot(1000, [cancel]() mutable { cancel.cancel(); });
            }
            const auto task = TaskOutcome<QString>::settle(
                backend.streamAnswer(
                    routeRequest(backend, route), [&](const QString &) { ++deltas; }, {}, cancel),
                20000);
            Outcome outcome = settled(task);
            outcome.answer = task.value.value_or(QString());
            // An endless stream's count depends on the machine's speed.
            outcome.deltas = fault.startsWith("endless") ? 0 : deltas;
            return outcome;
        }
        if (target == "history")
            return storeError(history, [&] { history.refresh({HistoryScope::transcripts}, true); });
        if (target == "dictionary")
            return storeError(dictionary, [&] { dictionary.refresh(); });
        if (target == "meetings")
            return storeError(meetings, [&] { meetings.refresh(); });
        if (target == "tasks")
            return storeError(assistant, [&] { assistant.refreshTasks(); });
        // Signing in throws what the backend said; a restart with the kept token forgets it.
        Outcome outcome = settled(TaskOutcome<void>::settle(auth.applyToken("token"), 15000));
        if (!keychain.items.contains(AuthStore::keychainKey))
            outcome.error = "the token was not kept";
        TaskOutcome<void>::settle(auth.restore(), 15000);
        if (!auth.token().isEmpty() || keychain.items.contains(AuthStore::keychainKey))
            outcome.error = "the failed restore kept the token";
        return outcome;
    }
};

QTEST_GUILESS_MAIN(TestBackendFaults)
#include "TestBackendFaults.moc"
