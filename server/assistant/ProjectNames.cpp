#include "ProjectNames.h"

#include "UserData.h"

using json = nlohmann::json;

namespace {

// A project's name and aliases as words, without a leading article: "the Newsletter" is also
// said as "newsletter".
std::vector<Phrase> labels(const json &project)
{
    std::vector<Phrase> labels{Phrase(project["name"].get<std::string>())};
    for (const json &alias : project["aliases"])
        if (alias.is_string())
            labels.emplace_back(alias.get<std::string>());
    for (Phrase &label : labels) {
        std::size_t first = 0;
        if (label.skip(first, label.size(), {"the", "my", "our"}) && first < label.size())
            label = Phrase(label.text(first, label.size()));
    }
    return labels;
}

} // namespace

ProjectNames::ProjectNames(UserData &data) : m_data(data) {}

std::optional<json> ProjectNames::named(const Phrase &phrase, std::size_t from, std::size_t to)
{
    phrase.skip(from, to, {"the", "my", "our"});
    if (to > from + 1 && phrase.isAny(to - 1, {"project", "site", "website"}))
        --to;
    if (from >= to)
        return std::nullopt;
    const std::string wanted = phrase.joined(from, to);
    for (const json &project : all())
        for (const Phrase &label : labels(project))
            if (!label.empty() && label.joined(0, label.size()) == wanted)
                return project;
    return std::nullopt;
}

std::vector<json> ProjectNames::mentioned(const Phrase &phrase, std::size_t from, std::size_t to)
{
    std::vector<json> found;
    for (const json &project : all())
        for (const Phrase &label : labels(project))
            if (!label.empty() && phrase.find(label, from) + label.size() <= to) {
                found.push_back(project);
                break;
            }
    return found;
}

std::string ProjectNames::nameOf(const json &id)
{
    for (const json &project : all())
        if (project["id"] == id)
            return project["name"].get<std::string>();
    return {};
}

const json &ProjectNames::all()
{
    if (!m_projects)
        m_projects = m_data.projects()["projects"];
    return *m_projects;
}
