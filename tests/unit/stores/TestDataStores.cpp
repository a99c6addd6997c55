// The dictionary, history, meeting and assistant stores against a scripted backend.
#include "backend/Backend.h"
#include "core/ManualClock.h"
#include "stores/AssistantStore.h"
#include "stores/DictionaryStore.h"
#include "stores/HistoryStore.h"
#include "stores/MeetingStore.h"
#include "support/FakeBackendServer.h"

#include <QFile>
#include <QJsonArray>
#include <QTemporaryDir>
#include <QTest>

namespace {

const QString created = QStringLiteral("2026-11-15T18:23:00Z");
const QJsonObject termShape{{"term", "x"}, {"variants", QJsonArray{}}};
const QJsonObject entryShape{{"date", created}, {"kind", "dictation"}, {"text", "x"}};
const QJsonObject meetingShape{
    {"title", "x"}, {"transcript", ""}, {"notes", ""}, {"durationSec", 60}, {"date", created}};
const QJsonObject taskShape{
    {"title", "x"}, {"done", false}, {"date", created}, {"description", ""}};
const QJsonObject memoryShape{{"text", "x"},      {"category", "fact"},       {"tier", "long"},
                              {"source", "chat"}, {"projects", QJsonArray{}}, {"date", created}};
const QJsonObject projectShape{{"aliases", QJsonArray{}}, {"summary", ""}};

// A record of `shape` with this id and these fields.
QJsonObject record(QJsonObject shape, const QString &id, const QJsonObject &fields = {})
{
    shape.insert("id", id);
    for (auto it = fields.begin(); it != fields.end(); ++it)
        shape.insert(it.key(), it.value());
    return shape;
}

QJsonObject list(const QString &key, const QJsonObject &shape, const QStringList &ids)
{
    QJsonArray records;
    for (const QString &id : ids)
        records.append(record(shape, id));
    return {{key, records}};
}

template <class Record> QStringList ids(const QList<Record> &records)
{
    QStringList list;
    for (const Record &record : records)
        list.append(record.id);
    return list;
}

struct Rig
{
    FakeBackendServer server;
    ManualClock clock;
    std::unique_ptr<Backend> backend;

    Rig()
    {
        if (!server.listen())
            qFatal("no port for the fake backend");
        backend = std::make_unique<Backend>(server.baseURL(), &clock);
    }
};

const QJsonObject serverDown{{"error", "down"}};
const QString serverDownText = QStringLiteral("Backend error 500: down");

} // namespace

class TestDataStores : public QObject
{
    Q_OBJECT
private Q_SLOTS:
    void dictionaryEdits()
    {
        Rig rig;
        DictionaryStore store(*rig.backend);
        rig.server.once("GET", "/dictionary").json(list("terms", termShape, {"a", "b"}));
        store.refresh();
        QTRY_COMPARE(store.terms().size(), 2);

        rig.server.on("GET", "/dictionary").status(500).json(serverDown);
        store.refresh();
        QTRY_COMPARE(store.loadError(), serverDownText);
        QCOMPARE(ids(store.terms()), (QStringList{"a", "b"}));

        // Blank: no request and the error stays.
        store.add(" \n\t\u2028", std::nullopt);
        rig.server.once("POST", "/dictionary")
            .json({{"term", record(termShape, "b", {{"term", "Qt6"}})}});
        store.add("  Qt6\n", QStringLiteral("cute"));
        QTRY_VERIFY(store.loadError().isEmpty());
        QCOMPARE(rig.server.requestCount(), 3);
        QCOMPARE(rig.server.lastRequest().json(),
                 (QJsonObject{{"term", "Qt6"}, {"variant", "cute"}}));
        QCOMPARE(ids(store.terms()), (QStringList{"a", "b"}));
        QCOMPARE(store.terms()[1].term, "Qt6");

        rig.server.once("POST", "/dictionary")
            .json({{"term", record(termShape, "c", {{"term", "Debian"}})}});
        store.add("Debian", std::nullopt);
        QTRY_COMPARE(ids(store.terms()), (QStringList{"c", "a", "b"}));
        QCOMPARE(store.termsModel()->get(0).value("term"), "Debian");

        rig.server.on("POST", "/dictionary").status(500).json(serverDown);
        store.add("Lost", std::nullopt);
        QTRY_COMPARE(store.loadError(), serverDownText);
        QCOMPARE(store.terms().size(), 3);

        rig.server.on("DELETE", "/dictionary/a").status(500).json(serverDown);
        store.remove("a");
        QCOMPARE(ids(store.terms()), (QStringList{"c", "b"}));
        QTRY_COMPARE(rig.server.lastRequest().path, "/dictionary/a");
        // A later change lands on the list without "a": the failed delete undid nothing.
        rig.server.once("POST", "/dictionary").json({{"term", record(termShape, "d")}});
        store.add("Later", std::nullopt);
        QTRY_COMPARE(ids(store.terms()), (QStringList{"d", "c", "b"}));
        QCOMPARE(store.loadError(), QString());
    }

    void historyThrottle()
    {
        Rig rig;
        HistoryStore store(*rig.backend, rig.clock);
        rig.server.on("GET", "/history").json(list("entries", entryShape, {"1"}));
        rig.server.once("GET", "/history").json(list("entries", entryShape, {"1"}));
        rig.server.once("GET", "/history").json(list("entries", entryShape, {}));
        store.refresh({HistoryScope::transcripts});
        QTRY_VERIFY(store.lastFetched(HistoryScope::transcripts));

        // Transcripts are 5 s old: skipped. Chat comes back empty, so it is fetched again.
        rig.clock.advance(5);
        store.refresh({HistoryScope::transcripts, HistoryScope::chat});
        QTRY_COMPARE(store.lastFetched(HistoryScope::chat), std::optional(5.0));
        QCOMPARE(rig.server.requestCount(), 2);
        QCOMPARE(rig.server.lastRequest().query, "scope=chat");
        store.refresh({HistoryScope::chat});
        QTRY_COMPARE(rig.server.requestCount(), 3);

        rig.clock.advance(HistoryStore::minRefreshInterval - 5);
        store.refresh({HistoryScope::transcripts});
        QTRY_COMPARE(rig.server.requestCount(), 4);
        QCOMPARE(rig.server.lastRequest().query, "scope=transcripts");
        store.refresh({HistoryScope::transcripts}, true);
        QTRY_COMPARE(rig.server.requestCount(), 5);
        QTRY_COMPARE(store.chatModel()->count(), 1);
    }

    void historyFailureAndClear()
    {
        Rig rig;
        HistoryStore store(*rig.backend, rig.clock);
        // The second scope fails: the first one's answer is dropped too.
        store.setTranscriptEntries({HistoryEntry{"old", {}, EntryKind::answer, "old"}});
        rig.server.once("GET", "/history").json(list("entries", entryShape, {"new"}));
        rig.server.once("GET", "/history").status(500).json(serverDown);
        store.refresh({HistoryScope::transcripts, HistoryScope::chat});
        QTRY_COMPARE(store.loadError(), serverDownText);
        QCOMPARE(rig.server.requestCount(), 2);
        QCOMPARE(ids(store.transcriptEntries()), QStringList{"old"});
        QVERIFY(!store.lastFetched(HistoryScope::transcripts));
        QVERIFY(!store.lastFetched(HistoryScope::chat));

        rig.server.on("GET", "/history").json(list("entries", entryShape, {"1"}));
        store.refresh({HistoryScope::transcripts, HistoryScope::chat});
        QTRY_VERIFY(store.lastFetched(HistoryScope::chat));
        QCOMPARE(store.loadError(), QString());

        store.clear(QStringLiteral("chat"));
        QTRY_VERIFY(store.chatEntries().isEmpty());
        QCOMPARE(rig.server.lastRequest().query, "scope=chat");
        QCOMPARE(store.transcriptEntries().size(), 1);

        rig.server.on("DELETE", "/history").drop();
        store.clear(std::nullopt);
        QTRY_VERIFY(store.transcriptEntries().isEmpty());
        QVERIFY(!store.lastFetched(HistoryScope::transcripts));
        QCOMPARE(store.loadError(), QString());
        const int before = rig.server.requestCount();
        store.refresh({HistoryScope::transcripts});
        QTRY_COMPARE(rig.server.requestCount(), before + 1);
    }

    void meetings()
    {
        Rig rig;
        QTemporaryDir recordings;
        const QString recording = recordings.filePath("m1.wav");
        QVERIFY(QFile(recording).open(QIODevice::WriteOnly));
        MeetingStore store(*rig.backend, recordings.path());
        rig.server.once("GET", "/meetings").json(list("meetings", meetingShape, {"m1", "m2"}));
        store.refresh();
        QTRY_COMPARE(store.meetings().size(), 2);

        rig.server.on("GET", "/meetings").truncated(R"({"meetings":[)", 4096);
        store.refresh();
        const QString unreachable =
            "Can't reach the backend. Is it running on " + rig.server.baseURL().toString() + "?";
        QTRY_COMPARE(store.loadError(), unreachable);
        QCOMPARE(ids(store.meetings()), (QStringList{"m1", "m2"}));

        // A failed delete still removes the recording but keeps the meeting listed.
        rig.server.on("DELETE", "/meetings/m1").status(500).json(serverDown);
        store.deleteMeeting("m1");
        QTRY_VERIFY(!QFile::exists(recording));
        QCOMPARE(store.meetings().size(), 2);

        rig.server.on("DELETE", "/meetings/m2").json({});
        store.deleteMeeting("m2");
        QTRY_COMPARE(ids(store.meetings()), QStringList{"m1"});
        QCOMPARE(store.loadError(), unreachable);

        store.reset();
        QVERIFY(store.meetings().isEmpty());
        QCOMPARE(store.meetingsModel()->count(), 0);
        QCOMPARE(store.loadError(), QString());
    }

    void assistant()
    {
        Rig rig;
        AssistantStore store(*rig.backend);
        rig.server.once("GET", "/tasks")
            .json({{"tasks", QJsonArray{record(taskShape, "t1", {{"project", "p1"}}),
                                        record(taskShape, "t2"),
                                        record(taskShape, "t3", {{"project", "p1"}})}}});
        store.refreshTasks();
        QTRY_COMPARE(store.tasks().size(), 3);

        rig.server.on("GET", "/tasks").status(500).json(serverDown);
        rig.server.on("GET", "/memories")
            .json({{"memories",
                    QJsonArray{record(memoryShape, "m1", {{"projects", QJsonArray{"p1", "p2"}}}),
                               record(memoryShape, "m2", {{"projects", QJsonArray{"p2"}}})}}});
        rig.server.once("GET", "/projects")
            .json({{"projects", QJsonArray{record(projectShape, "p1", {{"name", "Zeta"}}),
                                           record(projectShape, "p2", {{"name", "alpha"}})}}});
        store.refreshProjects();
        QTRY_COMPARE(store.projects().size(), 2);
        QCOMPARE(store.loadError(), serverDownText);
        QCOMPARE(store.tasks().size(), 3);
        QCOMPARE(ids(store.projects()), (QStringList{"p2", "p1"}));
        QCOMPARE(store.projectsModel()->get(0).value("name"), "alpha");

        QCOMPARE(store.projectName(QStringLiteral("p1")), std::optional<QString>("Zeta"));
        QCOMPARE(store.projectName(QStringLiteral("gone")), std::nullopt);
        QCOMPARE(store.projectName(std::nullopt), std::nullopt);
        QCOMPARE(ids(store.tasksFor("p1")), (QStringList{"t1", "t3"}));
        QCOMPARE(ids(store.memoriesFor("p1")), QStringList{"m1"});
        QCOMPARE(ids(store.memoriesFor("p2")), (QStringList{"m1", "m2"}));

        // A failed project fetch keeps the projects and reports nothing.
        rig.server.on("GET", "/projects").status(500).json({{"error", "projects down"}});
        store.loadProjects();
        QTRY_COMPARE(rig.server.lastRequest().path, "/projects");
        // Answered after the failed projects request.
        rig.server.on("GET", "/memories").json(list("memories", memoryShape, {}));
        store.refreshMemories();
        QTRY_VERIFY(store.memories().isEmpty());
        QCOMPARE(store.projects().size(), 2);
        // A refresh that works leaves no earlier failure on show.
        QCOMPARE(store.loadError(), QString());

        store.setTaskDone("t2", true);
        QVERIFY(store.tasks()[1].done);
        QCOMPARE(store.tasksModel()->get(1).value("done"), true);
        store.setTaskDone("unknown", true);
        QTRY_COMPARE(rig.server.lastRequest().path, "/tasks/unknown/complete");
        QCOMPARE(rig.server.lastRequest().json(), (QJsonObject{{"done", true}}));

        store.deleteTask("t1");
        QCOMPARE(ids(store.tasks()), (QStringList{"t2", "t3"}));
        QTRY_COMPARE(rig.server.lastRequest().path, "/tasks/t1");

        store.reset();
        QVERIFY(store.tasks().isEmpty() && store.memories().isEmpty() &&
                store.projects().isEmpty());
        QVERIFY(store.projectsById().isEmpty());
        QCOMPARE(store.loadError(), QString());
    }
};

QTEST_GUILESS_MAIN(TestDataStores)
#include "TestDataStores.moc"
