#include "TaskIntents.h"

#include "ProjectNames.h"
#include "TimePhrase.h"
#include "UserData.h"

using json = nlohmann::json;

namespace {

const std::initializer_list<const char *> prepositions = {"to", "for", "in", "into", "on", "under"};

std::string counted(std::size_t count, const std::string &one, const std::string &many)
{
    return count == 1 ? "one " + one : std::to_string(count) + " " + many;
}

} // namespace

TaskIntents::TaskIntents(UserData &data, ProjectNames &projects)
    : m_data(data), m_projects(projects)
{}

std::optional<IntentReply> TaskIntents::addTask(const Phrase &p, std::size_t begin, std::size_t end,
                                                const DeviceTime &now)
{
    std::size_t at = begin;
    const bool add = p[at] == "add" || p[at] == "put";
    if (!add && !p.isAny(at, {"create", "make", "new"}))
        return std::nullopt;
    ++at;
    const std::size_t afterVerb = at;
    p.skip(at, end, {"another", "one more", "a new", "an", "a", "the", "new"});
    const bool named = p.skip(at, end, {"task", "to do", "todo"});
    if (named) {
        p.skip(at, end, {"item"});
        if (at + 1 < end)
            p.skip(at, end, {"called", "named", "saying", "that says", "to"});
    } else if (!add) {
        return std::nullopt;
    } else {
        at = afterVerb;
    }

    // "add buy milk to my list": the list named after the title.
    std::size_t titleEnd = end, tail = end;
    bool listed = false;
    for (std::size_t i = at + 1; !named && !listed && i < end; ++i) {
        std::size_t marker = i;
        if (!p.skip(marker, end, {"to", "on", "onto"}))
            continue;
        p.skip(marker, end, {"my", "the"});
        if (p.skip(marker, end,
                   {"task list", "tasks", "to do list", "todo list", "to dos", "todos", "to do",
                    "list"})) {
            titleEnd = i;
            tail = marker;
            listed = true;
        }
    }

    std::optional<TimePhrase::Result> due;
    std::optional<json> project;
    std::string unknownProject;
    const auto takeProject = [&](std::size_t from, std::size_t &to) {
        // The leftmost preposition whose words name a project: "for the Garden project".
        for (std::size_t i = from; i + 1 < to; ++i)
            if (p.isAny(i, prepositions) && (project = m_projects.named(p, i + 1, to))) {
                to = i;
                return;
            }
        if (to <= from || !p.isAny(to - 1, {"project", "site", "website"}))
            return;
        // The nearest "to the … project" names one that doesn't exist.
        for (std::size_t i = to - 1; i-- > from;)
            if (p.isAny(i, prepositions)) {
                std::size_t name = i + 1;
                p.skip(name, to - 1, {"the", "my", "our"});
                if (name < to - 1) {
                    unknownProject = p.text(name, to - 1);
                    to = i;
                }
                return;
            }
    };
    // Due dates and projects said after the title, in either order.
    const auto takeModifiers = [&](std::size_t from, std::size_t &to) {
        for (int round = 0; round < 2 && to > from; ++round) {
            if (!due && (due = TimePhrase::atEnd(p, from, to, now, TimePhrase::Purpose::Task)))
                to = due->begin;
            if (!project && unknownProject.empty())
                takeProject(from, to);
        }
    };
    if (tail < end) {
        std::size_t rest = end;
        takeModifiers(tail, rest);
        if (rest > tail)
            return std::nullopt; // "add milk to my list of groceries" is not this command
    }
    takeModifiers(at + 1, titleEnd);
    if (!named && !listed && !project)
        return std::nullopt; // a plain "add …" is only a task with a list or a known project
    if (at >= titleEnd)
        return IntentReply{"What's the task? Say, for example, " +
                               Phrase::quoted("add a task to water the plants") + ".",
                           {},
                           {}};

    const std::string title = Phrase::capitalised(p.text(at, titleEnd));
    const std::optional<std::string> dueAt =
        due ? std::optional<std::string>(DeviceTime::isoUtc(now.toUtc(due->when))) : std::nullopt;
    const std::optional<std::string> projectId =
        project ? std::optional<std::string>((*project)["id"].get<std::string>()) : std::nullopt;
    m_data.addTask(title, projectId, dueAt);

    std::string answer = "Added the task " + Phrase::quoted(title);
    if (project)
        answer += " to " + (*project)["name"].get<std::string>();
    if (due)
        answer += ", due " +
                  (due->timeGiven ? now.relativeDayAndTime(due->when) : now.relativeDay(due->when));
    answer += ".";
    if (!unknownProject.empty())
        answer += " I didn't find a project called " + Phrase::quoted(unknownProject) +
                  ", so it isn't in one.";
    return IntentReply{answer, {}, {}};
}

std::optional<IntentReply> TaskIntents::addReminder(const Phrase &p, std::size_t begin,
                                                    std::size_t end, const DeviceTime &now)
{
    std::size_t at = begin;
    // "remember to …" and "don't forget to …" ask for a reminder, not a memory.
    if (!p.skip(at, end,
                {"remind me", "set a reminder", "create a reminder", "add a reminder",
                 "make a reminder", "set reminder", "new reminder"}) &&
        !((p.hasAt(at, {"remember to"}) && p.skip(at, end, {"remember"})) ||
          (p.hasAt(at, {"don't forget to"}) && p.skip(at, end, {"don't forget"}))))
        return std::nullopt;
    // "remind me what …" and "remind me of …" ask to be told something.
    if (at < end &&
        p.isAny(at, {"what", "who", "how", "when", "where", "why", "which", "if", "whether", "of"}))
        return std::nullopt;
    const auto isConnector = [&](std::size_t i) {
        return i < end && p.isAny(i, {"to", "that", "about"});
    };
    std::optional<TimePhrase::Result> when;
    std::size_t titleBegin = at, titleEnd = end;
    // "remind me tomorrow at 9 to call Sam"
    if (!isConnector(at) &&
        (when = TimePhrase::atStart(p, at, end, now, TimePhrase::Purpose::Reminder)))
        titleBegin = when->end;
    std::string connector = "to";
    if (isConnector(titleBegin))
        connector = p[titleBegin++];
    if (!when && titleBegin < end &&
        !TimePhrase::parse(p, titleBegin, end, now, TimePhrase::Purpose::Reminder) &&
        (when = TimePhrase::atEnd(p, titleBegin + 1, end, now, TimePhrase::Purpose::Reminder)))
        titleEnd = when->begin;
    if (titleBegin >= titleEnd ||
        TimePhrase::parse(p, titleBegin, titleEnd, now, TimePhrase::Purpose::Reminder))
        return IntentReply{"What should I remind you about? Say, for example, " +
                               Phrase::quoted("remind me to call Sam at 5 pm") + ".",
                           {},
                           {}};

    const DeviceTime::Local due = when ? when->when : now.local() + reminderDelay;
    const std::string title = Phrase::capitalised(p.text(titleBegin, titleEnd));
    m_data.addReminder(title, DeviceTime::isoUtc(now.toUtc(due)));
    const std::string said =
        "I'll remind you " + connector + " " + p.spokenBack(titleBegin, titleEnd);
    if (!when)
        return IntentReply{said + " in an hour (" + now.relativeDayAndTime(due) + ").", {}, {}};
    return IntentReply{said + " " + now.relativeDayAndTime(due) + ".", {}, {}};
}

std::optional<IntentReply> TaskIntents::listTasks(const Phrase &p, std::size_t begin,
                                                  std::size_t end, const DeviceTime &now)
{
    std::size_t at = begin;
    if (!p.skip(at, end,
                {"what are my open tasks",
                 "what are my tasks",
                 "what tasks do i have",
                 "what's on my to do list",
                 "what's on my todo list",
                 "what's on my task list",
                 "what's on my list",
                 "whats on my list",
                 "what is on my to do list",
                 "what is on my todo list",
                 "what is on my task list",
                 "what is on my list",
                 "list my tasks",
                 "list my open tasks",
                 "show my tasks",
                 "show me my tasks",
                 "read my tasks",
                 "read me my tasks",
                 "what do i have to do",
                 "my tasks"}))
        return std::nullopt;
    // An optional project ("for the Garden project") or day ("for today", "this week" isn't).
    std::optional<json> project;
    std::optional<TimePhrase::Result> day;
    if (at < end) {
        std::size_t name = at;
        p.skip(name, end, {"for", "in", "on", "under"});
        project = name < end ? m_projects.named(p, name, end) : std::nullopt;
        if (!project && !(day = TimePhrase::parse(p, at, end, now, TimePhrase::Purpose::Task)))
            return std::nullopt;
    }

    std::vector<json> listed;
    for (const json &task : m_data.openTasks()) {
        if (project && task["project"] != (*project)["id"])
            continue;
        if (day) {
            const auto due = task["dueAt"].is_string()
                                 ? DeviceTime::parseIsoUtc(task["dueAt"].get<std::string>())
                                 : std::nullopt;
            // Due by the end of that day, overdue ones included.
            if (!due || std::chrono::floor<std::chrono::days>(now.toLocal(*due)) >
                            std::chrono::floor<std::chrono::days>(day->when))
                continue;
        }
        listed.push_back(task);
    }
    const std::string scope = project ? " in " + (*project)["name"].get<std::string>()
                              : day   ? " due by " + now.relativeDay(day->when)
                                      : "";
    if (listed.empty())
        return IntentReply{"You have no open tasks" + scope + ".", {}, {}};
    std::string answer =
        "You have " + counted(listed.size(), "open task", "open tasks") + scope + ":";
    for (std::size_t i = 0; i < listed.size() && i < maxListed; ++i) {
        const json &task = listed[i];
        std::string details;
        if (!project && task["project"].is_string())
            details = m_projects.nameOf(task["project"]);
        if (task["dueAt"].is_string())
            details +=
                (details.empty() ? "" : ", ") + std::string("due ") + dueText(task["dueAt"], now);
        answer += "\n- " + task["title"].get<std::string>() +
                  (details.empty() ? "" : " (" + details + ")");
    }
    if (listed.size() > maxListed)
        answer += "\n…and " + std::to_string(listed.size() - maxListed) + " more.";
    return IntentReply{answer, {}, {}};
}

std::string TaskIntents::dueText(const json &dueAt, const DeviceTime &now)
{
    const std::optional<DeviceTime::Utc> due = DeviceTime::parseIsoUtc(dueAt.get<std::string>());
    if (!due)
        return dueAt.get<std::string>();
    const DeviceTime::Local local = now.toLocal(*due);
    // A task due on a day, not at a time, is due at its last minute.
    const auto sinceMidnight = local - std::chrono::floor<std::chrono::days>(local);
    if (std::chrono::floor<std::chrono::minutes>(sinceMidnight) == TimePhrase::endOfDay)
        return now.relativeDay(local);
    return now.relativeDayAndTime(local);
}
