#include "ChatPrompt.h"

#include "Phrase.h"
#include "UserData.h"

#include <nlohmann/json.hpp>

#include <deque>

using json = nlohmann::json;

namespace {

std::string cut(const std::string &text, std::size_t bytes)
{
    return text.size() <= bytes ? text : Phrase::utf8Prefix(text, bytes) + " …";
}

} // namespace

ChatPrompt::ChatPrompt(UserData &data, DeviceTime::Clock clock)
    : m_data(data), m_clock(std::move(clock))
{}

std::vector<ChatModel::Message> ChatPrompt::messages(const std::string &question,
                                                     const std::string &now,
                                                     const std::string &context)
{
    std::vector<ChatModel::Message> messages{
        {"system", systemText(DeviceTime::parse(now, m_clock)), {}}};

    // Question and answer pairs; a question left without an answer (it failed, or it is the
    // one being asked now) is skipped.
    std::deque<std::pair<std::string, std::string>> turns;
    std::optional<std::string> asked;
    for (const json &entry : m_data.recentChat(maxTurns * 4)) {
        const std::string text = entry["text"].get<std::string>();
        if (entry["kind"] == "question") {
            asked = text;
        } else if (asked) {
            // No single turn may take more than a quarter of the budget.
            turns.emplace_back(cut(*asked, maxHistoryBytes / 8), cut(text, maxHistoryBytes / 8));
            asked.reset();
        }
    }
    std::size_t kept = 0, bytes = 0;
    for (auto turn = turns.rbegin(); turn != turns.rend() && kept < maxTurns; ++turn, ++kept) {
        bytes += turn->first.size() + turn->second.size();
        if (bytes > maxHistoryBytes)
            break;
    }
    for (auto turn = turns.end() - std::ptrdiff_t(kept); turn != turns.end(); ++turn) {
        messages.push_back({"user", turn->first, {}});
        messages.push_back({"assistant", turn->second, {}});
    }

    std::string asking = question;
    if (!context.empty()) {
        asking += "\n\nSelected text:\n" + Phrase::utf8Prefix(context, maxContextBytes);
        if (context.size() > maxContextBytes)
            asking += "\n[The selected text is cut here; " +
                      std::to_string(context.size() -
                                     Phrase::utf8Prefix(context, maxContextBytes).size()) +
                      " more bytes were left out.]";
    }
    messages.push_back({"user", asking, {}});
    return messages;
}

std::string ChatPrompt::systemText(const DeviceTime &now)
{
    std::string text =
        "You are Ovrin, a voice assistant on the user's Linux desktop. The user speaks a question "
        "and your answer appears in a small floating card, so be brief: a sentence or two, or a "
        "short list with lines starting \"- \", unless asked for more. Write plain text without "
        "headings or tables.\n";
    if (now.reported())
        text += "The user's local time is " + now.describeNow() + ".\n";
    else
        text += "The user's time zone is unknown; the time in UTC is " +
                DeviceTime::longDate(now.local()) + ", " + DeviceTime::clockTime(now.local()) +
                ".\n";

    std::string remembered;
    std::size_t count = 0;
    const json memories = m_data.memories();
    for (const json &memory : memories["memories"]) {
        const std::string line = "- " + cut(memory["text"].get<std::string>(), 500) + "\n";
        if (count == maxMemories || remembered.size() + line.size() > maxMemoryBytes)
            break;
        remembered += line;
        ++count;
    }
    if (!remembered.empty())
        text += "What you remember about the user, most recent first:\n" + remembered;
    return text;
}

std::string ChatPrompt::noModelExplanation()
{
    return "I can only answer general questions with a language model, and none is set up. "
           "Offline I can open apps, add tasks, set reminders, remember things and tell you what "
           "I remember, list your tasks, and tell you the time and date. To answer anything "
           "else, add a \"chat\" object with \"url\", \"key\" and \"model\" to "
           "$XDG_CONFIG_HOME/Ovrin/server.json (usually ~/.config/Ovrin/server.json), or set "
           "OVRIN_CHAT_URL, OVRIN_CHAT_KEY and OVRIN_CHAT_MODEL, then restart ovrin-server. Any "
           "OpenAI-compatible service works, such as a local llama.cpp server or Ollama; "
           "ovrin-server --check shows what is active.";
}
