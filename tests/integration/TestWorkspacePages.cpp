// The tasks, reminders, memory and projects pages of the main window against the fake
// backend: what they show, grouped and ordered; what ticking and deleting send; what they
// say when there is nothing or when the backend fails.
#include "window/MainWindowFixture.h"

#include <QFont>
#include <QJsonArray>
#include <QLocale>
#include <QPointer>
#include <QQuickItem>
#include <QQuickWindow>
#include <QTest>

#include <optional>

namespace {

enum Page { tasks = 6, reminders = 7, memory = 8, projects = 9 };

QJsonObject reminder(const QString &id, const QString &title, const QString &dueAt)
{
    return {{"id", id},
            {"title", title},
            {"dueAt", dueAt},
            {"fired", false},
            {"date", "2026-11-20T09:00:00Z"},
            {"description", ""}};
}

qreal sceneY(QQuickItem *item)
{
    return item->mapToScene(QPointF(0, 0)).y();
}

} // namespace

class TestWorkspacePages : public QObject
{
    Q_OBJECT

    MainWindowFixture m_rig;

    // Builds page `id` afresh, so it loads its lists again, and waits until the item named
    // `ready` shows: the lists arrive after the page.
    QQuickItem *show(int id, const QString &ready = {})
    {
        if (m_rig.model->selectedTab() == id)
            m_rig.showPage(0);
        QQuickItem *page = m_rig.showPage(id);
        const auto shows = [&] {
            QQuickItem *found = item(ready);
            return found && found->isVisible();
        };
        return page && (ready.isEmpty() || QTest::qWaitFor(shows)) ? page : nullptr;
    }

    QQuickItem *item(const QString &objectName) const
    {
        return MainWindowFixture::findItem(m_rig.page(), objectName);
    }

    void click(QQuickItem *found)
    {
        QVERIFY(found);
        // A page still sliding or laying out would take the click somewhere else. A list that
        // reloads meanwhile makes its rows anew: the item is then looked up again by name.
        const QString name = found->objectName();
        QPointer<QQuickItem> target(found);
        QPointF last(-1, -1);
        const auto settled = [&] {
            if (!target)
                target = item(name);
            if (!target)
                return false;
            const QPointF now = target->mapToScene({});
            return std::exchange(last, now) == now;
        };
        QVERIFY(QTest::qWaitFor(settled));
        const QPointF centre(target->width() / 2, target->height() / 2);
        QTest::mouseClick(m_rig.window(), Qt::LeftButton, {}, target->mapToScene(centre).toPoint());
    }

    // The first request for `method` `path` received after request number `from`.
    std::optional<FakeRequest> requestSince(int from, const QByteArray &method,
                                            const QString &path) const
    {
        const QList<FakeRequest> &requests = m_rig.server.requests();
        for (qsizetype i = from; i < requests.size(); ++i) {
            if (requests[i].method == method && requests[i].path == path)
                return requests[i];
        }
        return std::nullopt;
    }

    bool waitForRequest(int from, const QByteArray &method, const QString &path)
    {
        return QTest::qWaitFor([&] { return requestSince(from, method, path).has_value(); });
    }

private Q_SLOTS:
    void initTestCase()
    {
        m_rig.server.on("POST", "/tasks/k1/complete").json({{"ok", true}});
        for (const char *path : {"/tasks/k3", "/reminders/r1", "/memories/e2"})
            m_rig.server.on("DELETE", path).json({{"ok", true}});
        QVERIFY(m_rig.start());
    }

    void cleanup() { m_rig.assistant->reset(); }

    void tasksAreGroupedByProjectOpenFirst()
    {
        QQuickItem *page = show(tasks, "taskGroup-Website relaunch");
        QVERIFY(page);
        VERIFY_TEXT(page, "Tasks");
        VERIFY_TEXT(page, "Ask by voice to add tasks — grouped by project.");
        QQuickItem *website = item("taskGroup-Website relaunch");
        QQuickItem *loose = item("taskGroup-No project");
        QVERIFY(website && loose);
        VERIFY_TEXT(website, "Website relaunch");
        VERIFY_TEXT(website, "Draft the launch email");
        VERIFY_TEXT(website, "Fix the footer links");
        VERIFY_TEXT(loose, "Book the dentist");
        // The list lays out its second group a frame later on a slow (sanitizer) build.
        QTRY_VERIFY(sceneY(website) < sceneY(loose));

        QQuickItem *open = item("taskTitle-k1");
        QQuickItem *done = item("taskTitle-k2");
        QVERIFY(sceneY(open) < sceneY(done));
        QVERIFY(!open->property("font").value<QFont>().strikeOut());
        QVERIFY(done->property("font").value<QFont>().strikeOut());
        QVERIFY(item("taskDone-k2")->property("checked").toBool());
    }

    // An unknown project id is no project; a due date is written out; a done task that
    // comes first in the store still comes after the open ones.
    void tasksOfUnknownProjectsAndDueDates()
    {
        const QString due = QStringLiteral("2026-12-01T08:15:00Z");
        QJsonObject dated{
            {"id", "k9"},   {"title", "Renew the domain"},    {"project", "p404"}, {"done", false},
            {"dueAt", due}, {"date", "2026-11-20T09:00:00Z"}, {"description", ""}};
        QJsonObject finished = dated, known = dated;
        finished["id"] = "k8";
        finished["done"] = true;
        finished.remove("dueAt");
        known["id"] = "k7";
        known["title"] = "Plan the launch party";
        known["project"] = "p1";
        m_rig.server.once("GET", "/tasks").json({{"tasks", QJsonArray{finished, dated, known}}});

        QVERIFY(show(tasks, "taskGroup-Website relaunch"));
        QVERIFY(MainWindowFixture::findItem(item("taskGroup-Website relaunch"), "task-k7"));
        QQuickItem *loose = item("taskGroup-No project");
        QVERIFY(loose && MainWindowFixture::findItem(loose, "task-k9"));
        const QDateTime local = QDateTime::fromString(due, Qt::ISODate).toLocalTime();
        QCOMPARE(item("taskDue-k9")->property("text").toString(),
                 QLocale::c().toString(local, "MMM d, yyyy 'at' HH:mm"));
        QVERIFY(sceneY(item("task-k9")) < sceneY(item("task-k8")));
        QVERIFY(!item("taskDue-k8")->isVisible());
    }

    void tickingATaskSendsItsCompletion()
    {
        // The rows are rebuilt as tasks and projects arrive, so the click waits for both.
        QVERIFY(show(tasks, "taskDone-k1"));
        QTRY_VERIFY(!m_rig.assistant->tasks().isEmpty() && !m_rig.assistant->projects().isEmpty());
        QTRY_VERIFY(item("taskGroup-Website relaunch") && item("taskDone-k1")->isVisible());
        const int from = m_rig.server.requestCount();
        click(item("taskDone-k1"));
        QVERIFY(waitForRequest(from, "POST", "/tasks/k1/complete"));
        QCOMPARE(requestSince(from, "POST", "/tasks/k1/complete")->json(),
                 QJsonObject({{"done", true}}));
        QTRY_VERIFY(item("taskDone-k1")->property("checked").toBool());
        QVERIFY(item("taskTitle-k1")->property("font").value<QFont>().strikeOut());

        // The rebuilt row keeps the keyboard focus, so Space unticks it again.
        QTRY_VERIFY(item("taskDone-k1")->hasActiveFocus());
        const int second = m_rig.server.requestCount();
        QTest::keyClick(m_rig.window(), Qt::Key_Space);
        QVERIFY(waitForRequest(second, "POST", "/tasks/k1/complete"));
        QCOMPARE(requestSince(second, "POST", "/tasks/k1/complete")->json(),
                 QJsonObject({{"done", false}}));
        QTRY_VERIFY(!item("taskDone-k1")->property("checked").toBool());
    }

    void arrowsMoveBetweenRows()
    {
        QVERIFY(show(tasks, "taskGroup-Website relaunch"));
        item("taskDone-k1")->forceActiveFocus();
        QTest::keyClick(m_rig.window(), Qt::Key_Down);
        QVERIFY(item("taskDone-k2")->hasActiveFocus());
        QTest::keyClick(m_rig.window(), Qt::Key_Down);
        QVERIFY(item("taskDone-k3")->hasActiveFocus());
        QTest::keyClick(m_rig.window(), Qt::Key_Down); // the last row stays
        QVERIFY(item("taskDone-k3")->hasActiveFocus());
        item("taskDelete-k3")->forceActiveFocus();
        QTest::keyClick(m_rig.window(), Qt::Key_Up);
        QVERIFY(item("taskDelete-k2")->hasActiveFocus());
    }

    // Moving down a list longer than the window scrolls it.
    void focusedRowsScrollIntoSight()
    {
        QJsonArray many;
        for (int i = 0; i < 30; ++i)
            many.append(QJsonObject{{"id", QString("n%1").arg(i)},
                                    {"title", QString("Task %1").arg(i)},
                                    {"done", false},
                                    {"date", "2026-11-20T09:00:00Z"},
                                    {"description", ""}});
        m_rig.server.once("GET", "/tasks").json({{"tasks", many}});
        QVERIFY(show(tasks, "taskDone-n29"));
        item("taskDone-n0")->forceActiveFocus();
        for (int i = 1; i < 30; ++i)
            QTest::keyClick(m_rig.window(), Qt::Key_Down);
        QQuickItem *last = item("taskDone-n29");
        QVERIFY(last->hasActiveFocus());
        const qreal bottom = last->mapToScene(QPointF(0, last->height())).y();
        QVERIFY2(bottom <= m_rig.window()->height(), qPrintable(QString::number(bottom)));
    }

    void deletingSendsDeleteAndDropsTheRow_data()
    {
        QTest::addColumn<int>("pageId");
        QTest::addColumn<QString>("button");
        QTest::addColumn<QString>("path");
        QTest::addColumn<QString>("gone");
        QTest::addColumn<QString>("kept");
        // The delete button that takes the focus, the one of the row after or before.
        QTest::addColumn<QString>("focusNext");
        QTest::newRow("task") << int(tasks) << "taskDelete-k3"
                              << "/tasks/k3"
                              << "Book the dentist"
                              << "Draft the launch email"
                              << "taskDelete-k2";
        QTest::newRow("reminder") << int(reminders) << "reminderDelete-r1"
                                  << "/reminders/r1"
                                  << "Call the bank"
                                  << "No upcoming reminders." << QString();
        QTest::newRow("memory") << int(memory) << "memoryDelete-e2"
                                << "/memories/e2"
                                << "The site launches in December."
                                << "Prefers meetings after 10 am."
                                << "memoryDelete-e1";
    }

    void deletingSendsDeleteAndDropsTheRow()
    {
        QFETCH(int, pageId);
        QFETCH(QString, button);
        QFETCH(QString, path);
        QFETCH(QString, gone);
        QFETCH(QString, kept);
        QFETCH(QString, focusNext);
        QQuickItem *page = show(pageId, button);
        QVERIFY(page);
        VERIFY_TEXT(page, gone);
        const int from = m_rig.server.requestCount();
        click(item(button));
        QVERIFY(waitForRequest(from, "DELETE", path));
        QTRY_VERIFY(!MainWindowFixture::findText(m_rig.page(), gone));
        VERIFY_TEXT(m_rig.page(), kept);
        if (!focusNext.isEmpty())
            QTRY_VERIFY(item(focusNext)->hasActiveFocus());
    }

    void remindersSoonestFirstWithTheirDueDate()
    {
        QQuickItem *page = show(reminders, "reminder-r1");
        QVERIFY(page);
        VERIFY_TEXT(page, "Reminders");
        VERIFY_TEXT(page, "Say “remind me to…” to schedule one.");
        VERIFY_TEXT(page, "Call the bank");
        const QDateTime due = QDateTime::fromString("2026-11-24T14:30:00Z", Qt::ISODate);
        VERIFY_TEXT(page, QLocale::c().toString(due.toLocalTime(), "MMM d, yyyy 'at' HH:mm"));

        m_rig.server.once("GET", "/reminders")
            .json({{"reminders", QJsonArray{reminder("r2", "Later", "2026-12-02T10:00:00Z"),
                                            reminder("r3", "Sooner", "2026-11-30T10:00:00Z")}}});
        QVERIFY(show(reminders, "reminder-r2"));
        QVERIFY(sceneY(item("reminder-r3")) < sceneY(item("reminder-r2")));
    }

    void memoriesGroupedWithTheirProjectChips()
    {
        QQuickItem *page = show(memory, "memoryGroup-Website relaunch");
        QVERIFY(page);
        VERIFY_TEXT(page, "Memory");
        VERIFY_TEXT(page, "What Ovrin remembers about you. Say “remember…” to add.");
        QQuickItem *website = item("memoryGroup-Website relaunch");
        QQuickItem *loose = item("memoryGroup-No project");
        QVERIFY(website && loose);
        QQuickItem *launch = MainWindowFixture::findItem(website, "memory-e2");
        QVERIFY(launch);
        VERIFY_TEXT(launch, "The site launches in December.");
        VERIFY_TEXT(launch, "fact");
        QQuickItem *chip = MainWindowFixture::findItem(launch, "memoryProject");
        QVERIFY(chip);
        QCOMPARE(chip->property("text").toString(), "Website relaunch");
        QQuickItem *plain = MainWindowFixture::findItem(loose, "memory-e1");
        QVERIFY(plain);
        VERIFY_TEXT(plain, "Prefers meetings after 10 am.");
        QVERIFY(!MainWindowFixture::findItem(plain, "memoryProject"));
    }

    void projectsWithTheirTasksAndFacts()
    {
        QQuickItem *page = show(projects, "project-p1");
        QVERIFY(page);
        VERIFY_TEXT(page, "Projects");
        VERIFY_TEXT(page, "What you're working on — tasks and facts, grouped.");
        QQuickItem *website = item("project-p1");
        QQuickItem *garden = item("project-p2");
        QVERIFY(website && garden);
        for (const char *text :
             {"Website relaunch", "The new marketing site.", "Also called site",
              "Draft the launch email", "Fix the footer links", "The site launches in December."})
            VERIFY_TEXT(website, text);
        QVERIFY(!MainWindowFixture::findText(website, "Book the dentist"));
        QVERIFY(!MainWindowFixture::findText(website, "Prefers meetings after 10 am."));
        QVERIFY(MainWindowFixture::findItem(website, "taskDone-k2")->property("checked").toBool());
        VERIFY_TEXT(garden, "Garden");
        VERIFY_TEXT(garden, "Nothing remembered about this project yet.");
        QVERIFY(
            !MainWindowFixture::findText(website, "Nothing remembered about this project yet."));
    }

    void emptyListsSayHowToAddOne()
    {
        const QJsonObject none{{"tasks", QJsonArray{}},
                               {"reminders", QJsonArray{}},
                               {"memories", QJsonArray{}},
                               {"projects", QJsonArray{}}};
        // Each page first with the sample data, then with nothing.
        struct Case
        {
            int page;
            QString ready;
            QStringList emptied;
            QStringList texts;
        };
        const QList<Case> cases{
            {tasks, "task-k1", {"tasks"}, {"No tasks yet. Say “add a task to…”"}},
            {reminders, "reminder-r1", {"reminders"}, {"No upcoming reminders."}},
            {memory,
             "memory-e1",
             {"memories"},
             {"Nothing remembered", "Nothing remembered yet. Tell the assistant something about "
                                    "you, or say “remember …”."}},
            {projects,
             "project-p1",
             {"tasks", "memories", "projects"},
             {"No projects yet. Mention one when adding a task, e.g. “add a task to the XYZ "
              "site”."}}};
        for (const Case &c : cases) {
            // The page's own fetches must have reached the server before the empty answers
            // are set, or one of them takes an answer meant for the refresh below.
            const int from = m_rig.server.requestCount();
            QVERIFY(show(c.page, c.ready));
            for (const QString &key : c.emptied)
                QVERIFY(waitForRequest(from, "GET", "/" + key));
            for (const QString &key : c.emptied)
                m_rig.server.once("GET", "/" + key).json({{key, none[key]}});
            QQuickItem *page = show(c.page);
            QVERIFY(page);
            for (const QString &text : c.texts)
                QTRY_VERIFY2_WITH_TIMEOUT(MainWindowFixture::findText(page, text), qPrintable(text),
                                          15000);
            m_rig.saveScreenshot("workspace-empty-" + page->objectName());
        }
    }

    void aLoadFailureShowsInThePage()
    {
        const QList<QPair<int, QString>> pages{{tasks, "/tasks"},
                                               {reminders, "/reminders"},
                                               {memory, "/memories"},
                                               {projects, "/tasks"}};
        for (const auto &[id, path] : pages) {
            m_rig.assistant->reset();
            m_rig.server.once("GET", path).status(500).json({{"error", "down"}});
            QQuickItem *page = show(id);
            QVERIFY(page);
            QTRY_VERIFY2(MainWindowFixture::findText(page, "Backend error 500: down"),
                         qPrintable(path));
            m_rig.saveScreenshot("workspace-failed-" + page->objectName());
            // A list that failed to load is not an empty one.
            for (const char *empty :
                 {"tasksEmpty", "remindersEmpty", "memoryEmpty", "projectsEmpty"}) {
                QQuickItem *state = item(empty);
                QVERIFY(!state || !state->isVisible());
            }
        }
    }

    // At the window's smallest size rows still end inside the window.
    void smallestWindow()
    {
        m_rig.window()->resize(900, 600);
        QTRY_COMPARE(m_rig.window()->width(), 900);
        const QList<QPair<int, QString>> pages{{tasks, "taskDelete-k1"},
                                               {reminders, "reminderDelete-r1"},
                                               {memory, "memoryDelete-e1"},
                                               {projects, "project-p2"}};
        for (const auto &[id, button] : pages) {
            QVERIFY(show(id, button));
            m_rig.saveScreenshot(
                QStringLiteral("workspace-%1-900x600").arg(m_rig.page()->objectName()));
            QQuickItem *target = item(button);
            const QPointF right = target->mapToScene(QPointF(target->width(), 0));
            QVERIFY2(right.x() <= 900, qPrintable(button));
        }
        m_rig.window()->resize(960, 640);
    }
};

QTEST_MAIN(TestWorkspacePages)
#include "TestWorkspacePages.moc"
