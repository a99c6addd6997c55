#pragma once

#include "Database.h"

#include <map>
#include <string>
#include <utility>

// Serialised replies of the lists clients read over and over (the history), kept until
// anything in the database changes. Serialising a long list costs as much as reading it; a
// client polling it then gets the same bytes for the price of a lookup. Not thread-safe: used
// under the server's lock.
class ReplyCache
{
public:
    static constexpr std::size_t maxEntries = 64;

    // The reply for `key`, made by `make` when the database changed since it was made.
    template <typename Make>
    const std::string &get(Database &database, const std::string &key, Make make)
    {
        const auto generation = database.generation();
        auto found = m_entries.find(key);
        if (found != m_entries.end() && found->second.first == generation)
            return found->second.second;
        std::string body = make();
        if (found == m_entries.end()) {
            if (m_entries.size() >= maxEntries)
                m_entries.clear();
            found = m_entries.emplace(key, Entry{}).first;
        }
        found->second = {generation, std::move(body)};
        return found->second.second;
    }

private:
    using Entry = std::pair<std::pair<long long, long long>, std::string>;

    std::map<std::string, Entry> m_entries;
};
