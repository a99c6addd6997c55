#include "AssistantIntents.h"

#include "UserData.h"

#include <algorithm>
#include <set>

using json = nlohmann::json;

namespace {

// Lower-case words, plurals and possessives folded, for comparing memories with a topic.
std::set<std::string> keywords(const std::string &text)
{
    static const std::set<std::string> common = {
        "a",    "an",   "the", "and",    "or",       "of",        "to",     "in",
        "on",   "at",   "for", "with",   "by",       "about",     "is",     "are",
        "was",  "be",   "it",  "its",    "my",       "me",        "i",      "you",
        "your", "our",  "we",  "this",   "that",     "what",      "do",     "does",
        "did",  "have", "has", "myself", "anything", "something", "things", "stuff"};
    const Phrase phrase(text);
    std::set<std::string> words;
    for (std::size_t i = 0; i < phrase.size(); ++i) {
        std::string word = phrase[i];
        if (word.ends_with("'s"))
            word.resize(word.size() - 2);
        if (word.size() > 3 && word.ends_with('s') && !word.ends_with("ss"))
            word.pop_back();
        if (!word.empty() && !common.contains(word))
            words.insert(word);
    }
    return words;
}

} // namespace

AssistantIntents::AssistantIntents(UserData &data, DeviceTime::Clock clock)
    : m_data(data), m_clock(std::move(clock)), m_projects(data), m_tasks(data, m_projects)
{}

std::optional<IntentReply> AssistantIntents::answer(const std::string &question,
                                                    const std::string &now,
                                                    const std::vector<std::string> &apps)
{
    if (question.size() > maxCommandBytes)
        return std::nullopt;
    const Phrase phrase(question);
    std::size_t begin = 0, end = phrase.size();
    while (phrase.skip(begin, end,
                       {"hey ovrin", "hi ovrin", "ok ovrin", "okay ovrin", "ovrin", "hey", "ok",
                        "okay", "please", "can you", "could you", "would you", "will you",
                        "i want you to", "i'd like you to", "go ahead and"}))
        ;
    for (bool trimmed = true; trimmed && end > begin;) {
        trimmed = false;
        for (const char *tail : {"please", "thanks", "thank you", "for me", "ovrin"}) {
            const std::size_t count = Phrase::countWords({tail});
            if (end >= begin + count && phrase.hasAt(end - count, {tail})) {
                end -= count;
                trimmed = true;
            }
        }
    }
    if (begin >= end)
        return std::nullopt;

    const DeviceTime deviceNow = DeviceTime::parse(now, m_clock);
    // Reminders first: "remember to …" is one, not a memory.
    if (Reply reply = m_tasks.addReminder(phrase, begin, end, deviceNow))
        return reply;
    if (Reply reply = m_tasks.addTask(phrase, begin, end, deviceNow))
        return reply;
    if (Reply reply = remember(phrase, begin, end))
        return reply;
    if (Reply reply = openApp(phrase, begin, end, apps))
        return reply;
    if (Reply reply = tellTime(phrase, begin, end, deviceNow))
        return reply;
    if (Reply reply = recall(phrase, begin, end))
        return reply;
    return m_tasks.listTasks(phrase, begin, end, deviceNow);
}

AssistantIntents::Reply AssistantIntents::openApp(const Phrase &p, std::size_t begin,
                                                  std::size_t end,
                                                  const std::vector<std::string> &apps)
{
    std::size_t at = begin;
    const bool start = p[at] == "start";
    if (!start && !p.skip(at, end, {"open", "launch"}))
        return std::nullopt;
    at += start ? 1 : 0;
    p.skip(at, end, {"up"});
    p.skip(at, end, {"the", "my"});
    if (end > at + 1 && p.isAny(end - 1, {"app", "application", "program"}))
        --end;
    if (at >= end)
        return std::nullopt;

    const std::string wanted = p.joined(at, end);
    const std::string *best = nullptr;
    int bestRank = 0;
    for (const std::string &app : apps) {
        const Phrase name(app);
        const std::string joined = name.joined(0, name.size());
        const std::size_t found = joined.find(wanted);
        // Exact, then the words start a word of the name, then anywhere in it, then the whole
        // name said among other words ("open firefox browser"); shorter names first.
        int rank = 0;
        if (joined.empty())
            continue;
        if (joined == wanted)
            rank = 4;
        else if (found != std::string::npos && (found == 0 || joined[found - 1] == ' '))
            rank = 3;
        else if (found != std::string::npos)
            rank = 2;
        else if (p.find(name, at) + name.size() <= end)
            rank = 1;
        if (rank > bestRank || (rank == bestRank && rank > 0 && app.size() < best->size())) {
            best = &app;
            bestRank = rank;
        }
    }
    if (best)
        return IntentReply{"Opening " + *best + ".", "open_app", *best};
    // "start" is also "start a timer" or "start over", and "open" begins "open-ended" or
    // "open source licences explained": only a known app or a short name makes a command.
    const std::string &original = p.original();
    const bool compound = p.word(begin).end < original.size() && original[p.word(begin).end] == '-';
    if (start || compound || end - at > 4 || p[at] == "source")
        return std::nullopt;
    return IntentReply{
        "I couldn't find an app called " + Phrase::quoted(p.text(at, end)) + ".", {}, {}};
}

AssistantIntents::Reply AssistantIntents::remember(const Phrase &p, std::size_t begin,
                                                   std::size_t end)
{
    std::size_t at = begin;
    if (!p.skip(at, end,
                {"remember that", "remember", "make a note that", "make a note", "note that",
                 "keep in mind that", "keep in mind", "don't forget that"}))
        return std::nullopt;
    // "remember what I said about …" asks rather than tells.
    if (at >= end || p.isAny(at, {"what", "who", "how", "when", "where", "why", "which", "if",
                                  "whether", "anything", "me"}))
        return std::nullopt;

    std::vector<std::string> ids;
    std::string names;
    for (const json &project : m_projects.mentioned(p, at, end)) {
        ids.push_back(project["id"].get<std::string>());
        names += (names.empty() ? "" : ", ") + project["name"].get<std::string>();
    }
    m_data.addMemory(Phrase::capitalised(p.text(at, end)), ids);
    std::string answer = "I'll remember that " + p.spokenBack(at, end);
    if (!names.empty())
        answer += " (" + names + ")";
    return IntentReply{answer + ".", {}, {}};
}

AssistantIntents::Reply AssistantIntents::tellTime(const Phrase &p, std::size_t begin,
                                                   std::size_t end, const DeviceTime &now)
{
    std::string said = p.joined(begin, end);
    for (const char *contraction : {"what's ", "whats "})
        if (said.starts_with(contraction))
            said = "what is " + said.substr(std::string(contraction).size());
    static const std::set<std::string> timeQuestions = {
        "what time is it",  "what time is it now",     "what time is it right now",
        "what is the time", "what is the time now",    "what is the current time",
        "tell me the time", "tell me what time it is", "do you know what time it is"};
    static const std::set<std::string> dateQuestions = {
        "what date is it",          "what date is it today", "what is the date",
        "what is the date today",   "what is today's date",  "what is todays date",
        "what is the current date", "tell me the date",      "what is today",
        "what day is it",           "what day is it today",  "what day is today",
        "which day is it",          "what is the day today", "tell me what day it is"};
    const bool time = timeQuestions.contains(said);
    if (!time && !dateQuestions.contains(said))
        return std::nullopt;
    // Without the device's own time the answer is in UTC and says so.
    const std::string zone = now.reported() ? "" : " UTC";
    if (time)
        return IntentReply{"It's " + DeviceTime::clockTime(now.local()) + zone + ".", {}, {}};
    return IntentReply{"It's " + DeviceTime::longDate(now.local()) + zone + ".", {}, {}};
}

AssistantIntents::Reply AssistantIntents::recall(const Phrase &p, std::size_t begin,
                                                 std::size_t end)
{
    std::size_t at = begin;
    // "what do you know about black holes" may be a general question: only memories answer it.
    const bool general = p.hasAt(at, {"what do you know about"});
    if (!p.skip(at, end,
                {"what do you remember about", "what do you know about",
                 "what else do you remember about", "do you remember anything about",
                 "tell me what you remember about", "what have you remembered about",
                 "what did i tell you about", "what do you remember", "what have you remembered"}))
        return std::nullopt;
    const std::string topic = p.text(at, end);
    const std::set<std::string> wanted = keywords(topic);
    const std::optional<json> project = at < end ? m_projects.named(p, at, end) : std::nullopt;

    std::vector<std::pair<std::size_t, json>> found; // score, memory; newest first
    const json memories = m_data.memories();
    for (const json &memory : memories["memories"]) {
        std::size_t score = 0;
        for (const std::string &word : keywords(memory["text"].get<std::string>()))
            score += wanted.contains(word) ? 1 : 0;
        if (project && std::find(memory["projects"].begin(), memory["projects"].end(),
                                 (*project)["id"]) != memory["projects"].end())
            ++score;
        if (score > 0 || wanted.empty())
            found.emplace_back(score, memory);
    }
    std::stable_sort(found.begin(), found.end(),
                     [](const auto &a, const auto &b) { return a.first > b.first; });
    const std::string about = wanted.empty() ? "" : " about " + p.spokenBack(at, end);
    if (found.empty() && general && !wanted.empty())
        return std::nullopt;
    if (found.empty() && wanted.empty())
        return IntentReply{"I don't remember anything yet. Tell me something with " +
                               Phrase::quoted("remember …") + ".",
                           {},
                           {}};
    if (found.empty())
        return IntentReply{"I don't remember anything" + about + ".", {}, {}};
    std::string answer = "Here's what I remember" + about + ":";
    for (std::size_t i = 0; i < found.size() && i < maxListed; ++i)
        answer += "\n- " + found[i].second["text"].get<std::string>();
    if (found.size() > maxListed)
        answer += "\n…and " + std::to_string(found.size() - maxListed) + " more.";
    return IntentReply{answer, {}, {}};
}
