// The offline commands against a real database: what each one writes, what it answers, and
// what must be left to a language model.
#include "AssistantIntents.h"
#include "AssistantRig.h"

#include <QTest>

using json = nlohmann::json;

namespace {

QString text(const std::string &value)
{
    return QString::fromStdString(value);
}

QString text(const json &value)
{
    return value.is_string() ? QString::fromStdString(value.get<std::string>()) : QString();
}

const std::vector<std::string> apps = {"Firefox Web Browser", "Files",
                                       "GNU Image Manipulation Program"};

} // namespace

class TestAssistantIntents : public QObject
{
    Q_OBJECT

    std::unique_ptr<AssistantRig> m_rig;

    std::optional<IntentReply> ask(const QString &question, const char *now = AssistantRig::berlin,
                                   const std::string &user = "u1")
    {
        UserData data = m_rig->user(user);
        AssistantIntents intents(data, AssistantRig::clock());
        return intents.answer(question.toStdString(), now, apps);
    }

    json tasks(const std::string &user = "u1") { return m_rig->user(user).tasks()["tasks"]; }
    json reminders(const std::string &user = "u1")
    {
        return m_rig->user(user).reminders()["reminders"];
    }
    json memories(const std::string &user = "u1")
    {
        return m_rig->user(user).memories()["memories"];
    }

private Q_SLOTS:
    void init()
    {
        m_rig = std::make_unique<AssistantRig>();
        m_rig->addProject("u1", "p-garden", "Garden", json::array({"allotment"}));
        m_rig->addProject("u1", "p-writing", "Writing", json::array({"blog", "the newsletter"}));
        m_rig->addProject("u2", "p-other-garden", "Garden");
    }

    void reminder_data()
    {
        QTest::addColumn<QString>("question");
        QTest::addColumn<QString>("now");
        QTest::addColumn<QString>("title");
        QTest::addColumn<QString>("dueAt");
        QTest::addColumn<QString>("answer");
        const QString berlin = AssistantRig::berlin;
        QTest::newRow("past hour moves to tomorrow")
            << "Remind me to water the plants at 5 pm." << berlin << "Water the plants"
            << "2026-11-16T16:00:00.000Z"
            << "I'll remind you to water the plants tomorrow at 5:00 PM.";
        QTest::newRow("time first, wake word, my → your")
            << "Hey Ovrin, remind me tomorrow at 9 to renew my passport" << berlin
            << "Renew my passport"
            << "2026-11-16T08:00:00.000Z"
            << "I'll remind you to renew your passport tomorrow at 9:00 AM.";
        QTest::newRow("-03:30, across midnight")
            << "remind me to call Sam in 2 hours"
            << "Sunday, 15 November 2026, 11:30 PM (America/St_Johns, -03:30)"
            << "Call Sam"
            << "2026-11-16T05:00:00.000Z"
            << "I'll remind you to call Sam tomorrow at 1:30 AM.";
        QTest::newRow("local date ahead of UTC date")
            << "can you remind me at 12:30 am to sleep"
            << "Sunday, 15 November 2026, 11:50 PM (Asia/Tokyo, +09:00)"
            << "Sleep"
            << "2026-11-15T15:30:00.000Z"
            << "I'll remind you to sleep tomorrow at 12:30 AM.";
        QTest::newRow("seconds from the clock")
            << "remind me to stretch in ten minutes" << berlin << "Stretch"
            << "2026-11-15T17:33:30.000Z"
            << "I'll remind you to stretch today at 6:33 PM.";
        QTest::newRow("weekday and 24-hour time")
            << "set a reminder to pay rent on Friday at 17:30" << berlin << "Pay rent"
            << "2026-11-20T16:30:00.000Z"
            << "I'll remind you to pay rent on Friday, 20 November at 5:30 PM.";
        QTest::newRow("remember to … is a reminder")
            << "remember to buy milk at 6 pm" << berlin << "Buy milk"
            << "2026-11-16T17:00:00.000Z"
            << "I'll remind you to buy milk tomorrow at 6:00 PM.";
        QTest::newRow("no time: in an hour")
            << "remind me that the oven is on" << berlin << "The oven is on"
            << "2026-11-15T18:23:30.000Z"
            << "I'll remind you that the oven is on in an hour (today at 7:23 PM).";
    }

    void reminder()
    {
        QFETCH(QString, question);
        QFETCH(QString, now);
        QFETCH(QString, title);
        QFETCH(QString, dueAt);
        QFETCH(QString, answer);
        const auto reply = ask(question, now.toUtf8().constData());
        QVERIFY(reply);
        QCOMPARE(text(reply->answer), answer);
        QVERIFY(reply->actionType.empty());
        QCOMPARE(reminders().size(), std::size_t(1));
        const json row = reminders()[0];
        QCOMPARE(text(row["title"]), title);
        QCOMPARE(text(row["dueAt"]), dueAt);
        QVERIFY(tasks().empty());
    }

    void task_data()
    {
        QTest::addColumn<QString>("question");
        QTest::addColumn<QString>("title");
        QTest::addColumn<QString>("project");
        QTest::addColumn<QString>("dueAt");
        QTest::addColumn<QString>("answer");
        QTest::newRow("project by name")
            << "Add a task to water the plants to the Garden project"
            << "Water the plants"
            << "p-garden"
            << ""
            << "Added the task \u201CWater the plants\u201D to Garden.";
        QTest::newRow("project by alias, then a due day")
            << "add a task renew the domain for the blog site by Friday"
            << "Renew the domain"
            << "p-writing"
            << "2026-11-20T22:59:00.000Z"
            << "Added the task \u201CRenew the domain\u201D to Writing, due on Friday, 20 "
               "November.";
        QTest::newRow("due day, then a two-word alias")
            << "please add a task draft the intro tomorrow at 10 am for the newsletter"
            << "Draft the intro"
            << "p-writing"
            << "2026-11-16T09:00:00.000Z"
            << "Added the task \u201CDraft the intro\u201D to Writing, due tomorrow at 10:00 AM.";
        QTest::newRow("onto my list") << "add buy milk to my list"
                                      << "Buy milk"
                                      << ""
                                      << ""
                                      << "Added the task \u201CBuy milk\u201D.";
        QTest::newRow("a known project is enough")
            << "add mulch the beds to the allotment"
            << "Mulch the beds"
            << "p-garden"
            << ""
            << "Added the task \u201CMulch the beds\u201D to Garden.";
        QTest::newRow("unknown project is said, not invented")
            << "add a task fix the fence to the house project"
            << "Fix the fence"
            << ""
            << ""
            << "Added the task \u201C"
               "Fix the fence\u201D. I didn't find a project called "
               "\u201Chouse\u201D, so it isn't in one.";
    }

    void task()
    {
        QFETCH(QString, question);
        QFETCH(QString, title);
        QFETCH(QString, project);
        QFETCH(QString, dueAt);
        QFETCH(QString, answer);
        const auto reply = ask(question);
        QVERIFY(reply);
        QCOMPARE(text(reply->answer), answer);
        QCOMPARE(tasks().size(), std::size_t(1));
        const json row = tasks()[0];
        QCOMPARE(text(row["title"]), title);
        QCOMPARE(text(row["project"]), project);
        QCOMPARE(text(row["dueAt"]), dueAt);
        QCOMPARE(row["done"].get<bool>(), false);
        QVERIFY(reminders().empty());
    }

    void memoryAndRecall()
    {
        auto reply = ask("Remember that my locker code is 4711.");
        QVERIFY(reply);
        QCOMPARE(text(reply->answer), "I'll remember that your locker code is 4711.");
        QCOMPARE(memories().size(), std::size_t(1));
        const json row = memories()[0];
        QCOMPARE(text(row["text"]), "My locker code is 4711");
        QCOMPARE(text(row["category"]), "general");
        QCOMPARE(text(row["tier"]), "long");
        QCOMPARE(text(row["source"]), "chat");
        QVERIFY(row["projects"] == json::array());

        reply = ask("remember the allotment gate sticks in wet weather");
        QCOMPARE(text(reply->answer),
                 "I'll remember that the allotment gate sticks in wet weather (Garden).");
        QVERIFY(memories()[0]["projects"] == json::array({"p-garden"}));

        reply = ask("What do you remember about my garden?");
        QCOMPARE(text(reply->answer), "Here's what I remember about your garden:\n"
                                      "- The allotment gate sticks in wet weather");
        reply = ask("what do you know about lockers");
        QCOMPARE(text(reply->answer),
                 "Here's what I remember about lockers:\n- My locker code is 4711");
        reply = ask("what do you remember about Jupiter");
        QCOMPARE(text(reply->answer), "I don't remember anything about Jupiter.");
        reply = ask("what do you remember", AssistantRig::berlin, "u2");
        QCOMPARE(text(reply->answer), "I don't remember anything yet. Tell me something with "
                                      "\u201Cremember …\u201D.");
    }

    void openApp_data()
    {
        QTest::addColumn<QString>("question");
        QTest::addColumn<QString>("app"); // empty: no action
        QTest::addColumn<QString>("answer");
        QTest::newRow("loose") << "open firefox"
                               << "Firefox Web Browser"
                               << "Opening Firefox Web Browser.";
        QTest::newRow("exact, any case") << "Launch FILES."
                                         << "Files"
                                         << "Opening Files.";
        QTest::newRow("the name among other words") << "open up the files app please"
                                                    << "Files"
                                                    << "Opening Files.";
        QTest::newRow("inside a word") << "open manipulation"
                                       << "GNU Image Manipulation Program"
                                       << "Opening GNU Image Manipulation Program.";
        QTest::newRow("start") << "start firefox"
                               << "Firefox Web Browser"
                               << "Opening Firefox Web Browser.";
        QTest::newRow("not installed") << "Open Spotify"
                                       << ""
                                       << "I couldn't find an app called \u201CSpotify\u201D.";
    }

    void openApp()
    {
        QFETCH(QString, question);
        QFETCH(QString, app);
        QFETCH(QString, answer);
        const auto reply = ask(question);
        QVERIFY(reply);
        QCOMPARE(text(reply->answer), answer);
        QCOMPARE(text(reply->actionType), app.isEmpty() ? "" : "open_app");
        QCOMPARE(text(reply->actionName), app);
    }

    void timeAndDate()
    {
        QCOMPARE(text(ask("What time is it?")->answer), "It's 6:23 PM.");
        QCOMPARE(text(ask("whats the time")->answer), "It's 6:23 PM.");
        QCOMPARE(text(ask("What's today's date?")->answer), "It's Sunday, 15 November 2026.");
        QCOMPARE(
            text(ask("what day is it", "Monday, 16 November 2026, 1:00 AM (Asia/Tokyo, +09:00)")
                     ->answer),
            "It's Monday, 16 November 2026.");
        // Without the device's time the server's clock answers, in UTC.
        QCOMPARE(text(ask("what time is it", "")->answer), "It's 5:23 PM UTC.");
    }

    void listTasks()
    {
        QCOMPARE(text(ask("what are my tasks")->answer), "You have no open tasks.");
        ask("add a task water the plants for the garden project tomorrow");
        ask("add a task send the invoice by Friday at 5 pm");
        ask("add call the plumber to my tasks");
        const std::string done =
            m_rig->user("u1").addTask("Old chore", std::nullopt, std::nullopt)["id"];
        m_rig->user("u1").completeTask(done, true);
        m_rig->user("u2").addTask("Someone else's", std::nullopt, std::nullopt);

        QCOMPARE(text(ask("What's on my list?")->answer),
                 "You have 3 open tasks:\n"
                 "- Water the plants (Garden, due tomorrow)\n"
                 "- Send the invoice (due on Friday, 20 November at 5:00 PM)\n"
                 "- Call the plumber");
        QCOMPARE(text(ask("list my tasks for the allotment")->answer),
                 "You have one open task in Garden:\n- Water the plants (due tomorrow)");
        QCOMPARE(
            text(ask("what are my tasks for tomorrow")->answer),
            "You have one open task due by tomorrow:\n- Water the plants (Garden, due tomorrow)");
    }

    // Questions that only mention a command are left to the model, and write nothing.
    void notCommands_data()
    {
        QTest::addColumn<QString>("question");
        QTest::newRow("how-to") << "How do I add a task in Jira?";
        QTest::newRow("time zone") << "What time zone is Tokyo in?";
        QTest::newRow("time elsewhere") << "what time is it in Tokyo";
        QTest::newRow("start, not an app") << "start a timer for ten minutes";
        QTest::newRow("sums") << "add two and two";
        QTest::newRow("a list that isn't the task list") << "add eggs to my list of groceries";
        QTest::newRow("remember, as a question") << "remember what I said about the garden?";
        QTest::newRow("remember, mid-sentence") << "Why do elephants remember everything";
        QTest::newRow("remind me, as a question") << "Remind me what the capital of Peru is";
        QTest::newRow("open, as an adjective") << "open source licences explained";
        QTest::newRow("knowledge, nothing remembered") << "What do you know about black holes?";
        QTest::newRow("chat") << "Tell me a joke";
        QTest::newRow("only a wake word") << "Hey Ovrin,";
        QTest::newRow("too long to be spoken") << QString("remind me to ") + QString(600, 'x');
    }

    void notCommands()
    {
        QFETCH(QString, question);
        QVERIFY(!ask(question));
        QVERIFY(tasks().empty());
        QVERIFY(reminders().empty());
        QVERIFY(memories().empty());
    }

    void emptyCommandsAsk()
    {
        QVERIFY(ask("add a task")->answer.starts_with("What's the task?"));
        QVERIFY(ask("remind me at 5 pm")->answer.starts_with("What should I remind you about?"));
        QVERIFY(tasks().empty());
        QVERIFY(reminders().empty());
    }

    // u2's project shares u1's project name; each user only ever reaches their own.
    void usersStayApart()
    {
        ask("add a task weed the beds to the garden project", AssistantRig::berlin, "u2");
        ask("remember that the shed key is under the pot", AssistantRig::berlin, "u2");
        ask("remind me to lock up at 9 pm", AssistantRig::berlin, "u2");
        QCOMPARE(tasks("u2").size(), std::size_t(1));
        QCOMPARE(text(tasks("u2")[0]["project"]), "p-other-garden");
        QCOMPARE(memories("u2").size(), std::size_t(1));
        QCOMPARE(reminders("u2").size(), std::size_t(1));
        QVERIFY(tasks().empty());
        QVERIFY(memories().empty());
        QVERIFY(reminders().empty());
        QCOMPARE(text(ask("what are my tasks")->answer), "You have no open tasks.");
        QCOMPARE(text(ask("what do you remember about the shed key")->answer),
                 "I don't remember anything about the shed key.");
        QVERIFY_THROWS_EXCEPTION(
            std::exception,
            m_rig->user("u1").addTask("x", std::string("p-other-garden"), std::nullopt));
    }
};

QTEST_GUILESS_MAIN(TestAssistantIntents)
#include "TestAssistantIntents.moc"
