// The conversation handed to a chat model: its parts, their order and their bounds.
#include "AssistantRig.h"
#include "ChatPrompt.h"

#include <QTest>

namespace {

QString text(const std::string &value)
{
    return QString::fromStdString(value);
}

QStringList roles(const std::vector<ChatModel::Message> &messages)
{
    QStringList list;
    for (const ChatModel::Message &message : messages)
        list << text(message.role);
    return list;
}

} // namespace

class TestChatPrompt : public QObject
{
    Q_OBJECT

    std::unique_ptr<AssistantRig> m_rig;

    std::vector<ChatModel::Message> build(const std::string &question,
                                          const std::string &context = {},
                                          const char *now = AssistantRig::berlin)
    {
        UserData data = m_rig->user("u1");
        return ChatPrompt(data, AssistantRig::clock()).messages(question, now, context);
    }

private Q_SLOTS:
    void init() { m_rig = std::make_unique<AssistantRig>(); }

    void firstQuestion()
    {
        const auto messages = build("What is a monad?");
        QCOMPARE(roles(messages), QStringList({"system", "user"}));
        const QString system = text(messages[0].content);
        QVERIFY(system.contains("Ovrin"));
        QVERIFY(system.contains("Sunday, 15 November 2026, 6:23 PM (Europe/Berlin, +01:00)"));
        QVERIFY(!system.contains("remember"));
        QCOMPARE(text(messages[1].content), "What is a monad?");
        // An unreadable "now" still gives the model a time, marked as UTC.
        QVERIFY(text(build("hi", {}, "")[0].content).contains("5:23 PM"));
    }

    // The last six complete exchanges, oldest first; an unanswered question is left out.
    void recentTurns()
    {
        UserData data = m_rig->user("u1");
        for (int i = 1; i <= 9; ++i) {
            data.addHistory("question", "q" + std::to_string(i));
            data.addHistory("answer", "a" + std::to_string(i));
        }
        data.addHistory("dictation", "not part of the chat");
        m_rig->user("u2").addHistory("question", "someone else's");
        data.addHistory("question", "the question being asked");

        const auto messages = build("the question being asked");
        QCOMPARE(messages.size(), std::size_t(2 + 2 * ChatPrompt::maxTurns));
        QStringList contents;
        for (std::size_t i = 1; i + 1 < messages.size(); ++i)
            contents << text(messages[i].role + ":" + messages[i].content);
        QCOMPARE(contents, QStringList({"user:q4", "assistant:a4", "user:q5", "assistant:a5",
                                        "user:q6", "assistant:a6", "user:q7", "assistant:a7",
                                        "user:q8", "assistant:a8", "user:q9", "assistant:a9"}));
        QCOMPARE(text(messages.back().content), "the question being asked");
    }

    void longTurnsAreBounded()
    {
        UserData data = m_rig->user("u1");
        const std::string long3k(3000, 'x');
        for (int i = 0; i < 5; ++i) {
            data.addHistory("question", std::to_string(i) + long3k);
            data.addHistory("answer", long3k);
        }
        const auto messages = build("next");
        std::size_t bytes = 0;
        for (std::size_t i = 1; i + 1 < messages.size(); ++i)
            bytes += messages[i].content.size();
        QVERIFY(bytes <= ChatPrompt::maxHistoryBytes);
        QVERIFY(messages.size() > 2);
        QVERIFY(messages.size() < 2 + 2 * 5);
        QVERIFY(messages[messages.size() - 3].content.starts_with("4x")); // the newest is kept
    }

    void contextIsCutAtACharacter()
    {
        std::string selection;
        while (selection.size() < 20000)
            selection += "\u20AC"; // three bytes, so the cut falls inside one
        const std::string user = build("Summarise this", selection).back().content;
        const std::string head = "Summarise this\n\nSelected text:\n";
        QVERIFY(user.starts_with(head));
        const std::size_t noteAt = user.find("\n[The selected text is cut here");
        QVERIFY(noteAt != std::string::npos);
        const std::size_t kept = noteAt - head.size();
        QVERIFY(kept <= ChatPrompt::maxContextBytes && kept > ChatPrompt::maxContextBytes - 3);
        QCOMPARE(kept % 3, std::size_t(0));

        QCOMPARE(text(build("Fix the grammar", "teh cat").back().content),
                 "Fix the grammar\n\nSelected text:\nteh cat");
    }

    void memoriesNewestFirstAndBounded()
    {
        UserData data = m_rig->user("u1");
        for (std::size_t i = 0; i < ChatPrompt::maxMemories + 5; ++i)
            data.addMemory("fact " + std::to_string(i), {});
        m_rig->user("u2").addMemory("a stranger's secret", {});
        const QString system = text(build("hello")[0].content);
        const QString newest = QString("- fact %1\n").arg(ChatPrompt::maxMemories + 4);
        QVERIFY(system.contains(newest));
        QVERIFY(system.indexOf(newest) < system.indexOf("- fact 10\n"));
        QVERIFY(!system.contains("- fact 4\n"));
        QCOMPARE(system.count("- fact "), int(ChatPrompt::maxMemories));
        QVERIFY(!system.contains("stranger"));
    }

    void noModelExplanation()
    {
        const QString answer = text(ChatPrompt::noModelExplanation());
        for (const char *needed : {"language model", "server.json", "\"chat\"", "OVRIN_CHAT_URL",
                                   "OVRIN_CHAT_KEY", "OVRIN_CHAT_MODEL", "--check", "remind"})
            QVERIFY2(answer.contains(needed), needed);
    }
};

QTEST_GUILESS_MAIN(TestChatPrompt)
#include "TestChatPrompt.moc"
