#pragma once

#include "Phrase.h"

#include <nlohmann/json.hpp>

#include <optional>
#include <string>
#include <vector>

class UserData;

// The user's projects as they are spoken of: by name or by alias, in any case, with or without
// "the" before and "project" or "site" after. Read from storage once, when first needed.
class ProjectNames
{
public:
    explicit ProjectNames(UserData &data);

    // The project words [from, to) name, e.g. "the Garden project" or "blog site".
    std::optional<nlohmann::json> named(const Phrase &phrase, std::size_t from, std::size_t to);
    // The projects whose name or an alias occurs among words [from, to).
    std::vector<nlohmann::json> mentioned(const Phrase &phrase, std::size_t from, std::size_t to);
    std::string nameOf(const nlohmann::json &id);

private:
    const nlohmann::json &all();

    UserData &m_data;
    std::optional<nlohmann::json> m_projects;
};
