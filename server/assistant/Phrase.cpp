#include "Phrase.h"

#include <algorithm>
#include <cctype>
#include <cstring>
#include <map>
#include <sstream>

namespace {

// Typographic quotes and dashes that separate words like their ASCII cousins.
bool isWideSeparator(const std::string &text, std::size_t at, std::size_t &length)
{
    static const char *const separators[] = {"\u201C", "\u201D", "\u2018", "\u2013",
                                             "\u2014", "\u2026", "\u00AB", "\u00BB"};
    for (const char *separator : separators) {
        const std::size_t size = std::strlen(separator);
        if (text.compare(at, size, separator) == 0) {
            length = size;
            return true;
        }
    }
    return false;
}

bool isSeparator(char c)
{
    return std::strchr(" \t\r\n,;!?\"()[]{}-/", c) != nullptr;
}

const std::string apostrophe = "\u2019";

bool isTrimmable(const std::string &text, std::size_t at, bool atEnd)
{
    const char c = text[at];
    if (c == '\'' || c == '.' || c == ':')
        return true;
    if (atEnd)
        return at >= 2 && text.compare(at - 2, 3, apostrophe) == 0;
    return text.compare(at, 3, apostrophe) == 0;
}

std::vector<std::string> splitWords(const char *text)
{
    std::vector<std::string> words;
    std::istringstream stream(text);
    for (std::string word; stream >> word;)
        words.push_back(word);
    return words;
}

} // namespace

Phrase::Phrase(std::string text) : m_original(std::move(text))
{
    const std::string &s = m_original;
    std::size_t start = std::string::npos;
    for (std::size_t i = 0; i <= s.size();) {
        std::size_t wide = 0;
        const bool separator = i == s.size() || isSeparator(s[i]) || isWideSeparator(s, i, wide);
        if (!separator) {
            if (start == std::string::npos)
                start = i;
            ++i;
            continue;
        }
        if (start != std::string::npos)
            addWord(start, i);
        start = std::string::npos;
        i += wide > 0 ? wide : 1;
    }
}

void Phrase::addWord(std::size_t begin, std::size_t end)
{
    const std::string &s = m_original;
    while (begin < end && isTrimmable(s, begin, false))
        begin += s[begin] == '\'' || s[begin] == '.' || s[begin] == ':' ? 1 : 3;
    while (end > begin && isTrimmable(s, end - 1, true))
        end -= s[end - 1] == '\'' || s[end - 1] == '.' || s[end - 1] == ':' ? 1 : 3;
    if (begin >= end)
        return;
    std::string word;
    for (std::size_t i = begin; i < end;) {
        const bool curly = s.compare(i, apostrophe.size(), apostrophe) == 0;
        word += curly ? '\'' : s[i];
        i += curly ? apostrophe.size() : 1;
    }
    word = lowered(word);
    if (word == "a.m" || word == "p.m")
        word = word.substr(0, 1) + "m";

    // "5pm", "5:30pm", "10min": the number and its unit are two words.
    std::size_t digits = 0;
    while (digits < word.size() && (std::isdigit(static_cast<unsigned char>(word[digits])) ||
                                    (digits > 0 && word[digits] == ':')))
        ++digits;
    if (digits > 0 && digits < word.size()) {
        std::string unit = word.substr(digits);
        if (unit == "a.m" || unit == "p.m")
            unit = unit.substr(0, 1) + "m";
        static const char *const units[] = {"am", "pm", "min", "mins", "h", "hr", "hrs"};
        for (const char *known : units)
            if (unit == known) {
                m_words.push_back({word.substr(0, digits), begin, begin + digits});
                m_words.push_back({unit, begin + digits, end});
                return;
            }
    }
    m_words.push_back({word, begin, end});
}

bool Phrase::hasAt(std::size_t at, std::initializer_list<const char *> words) const
{
    for (const char *entry : words)
        for (const std::string &word : splitWords(entry)) {
            if (at >= m_words.size() || m_words[at].text != word)
                return false;
            ++at;
        }
    return true;
}

std::size_t Phrase::countWords(std::initializer_list<const char *> words)
{
    std::size_t count = 0;
    for (const char *entry : words)
        count += splitWords(entry).size();
    return count;
}

std::string Phrase::joined(std::size_t from, std::size_t to) const
{
    std::string text;
    for (std::size_t i = from; i < to && i < m_words.size(); ++i)
        text += (text.empty() ? "" : " ") + m_words[i].text;
    return text;
}

std::string Phrase::text(std::size_t from, std::size_t to) const
{
    if (from >= to || from >= m_words.size())
        return {};
    to = std::min(to, m_words.size());
    return m_original.substr(m_words[from].begin, m_words[to - 1].end - m_words[from].begin);
}

std::size_t Phrase::find(const Phrase &needle, std::size_t from) const
{
    if (needle.empty())
        return size();
    for (std::size_t at = from; at + needle.size() <= size(); ++at) {
        bool same = true;
        for (std::size_t i = 0; same && i < needle.size(); ++i)
            same = m_words[at + i].text == needle[i];
        if (same)
            return at;
    }
    return size();
}

bool Phrase::isAny(std::size_t at, std::initializer_list<const char *> words) const
{
    return at < size() && std::find(words.begin(), words.end(), m_words[at].text) != words.end();
}

bool Phrase::skip(std::size_t &at, std::size_t end, std::initializer_list<const char *> forms) const
{
    for (const char *form : forms) {
        const std::size_t count = countWords({form});
        if (at + count <= end && hasAt(at, {form})) {
            at += count;
            return true;
        }
    }
    return false;
}

std::string Phrase::spokenBack(std::size_t from, std::size_t to) const
{
    static const std::map<std::string, std::string> swaps = {
        {"my", "your"}, {"me", "you"},     {"i", "you"},           {"i'm", "you're"},
        {"am", "are"},  {"mine", "yours"}, {"myself", "yourself"}, {"i've", "you've"}};
    to = std::min(to, size());
    if (from >= to)
        return {};
    std::string result;
    std::size_t copied = m_words[from].begin;
    for (std::size_t i = from; i < to; ++i) {
        const auto swap = swaps.find(m_words[i].text);
        // "am" only after "I": "at 9 am" stays.
        if (swap == swaps.end() ||
            (swap->first == "am" && (i == from || m_words[i - 1].text != "i")))
            continue;
        result += m_original.substr(copied, m_words[i].begin - copied) + swap->second;
        copied = m_words[i].end;
    }
    return result + m_original.substr(copied, m_words[to - 1].end - copied);
}

std::string Phrase::quoted(const std::string &text)
{
    return "\u201C" + text + "\u201D";
}

std::string Phrase::lowered(std::string text)
{
    for (char &c : text)
        if (c >= 'A' && c <= 'Z')
            c = char(c - 'A' + 'a');
    return text;
}

std::string Phrase::capitalised(std::string text)
{
    if (!text.empty() && text[0] >= 'a' && text[0] <= 'z')
        text[0] = char(text[0] - 'a' + 'A');
    return text;
}

std::string Phrase::utf8Prefix(const std::string &text, std::size_t bytes)
{
    if (text.size() <= bytes)
        return text;
    std::size_t end = bytes;
    // Back up over continuation bytes to the start of the character that would be split.
    while (end > 0 && (static_cast<unsigned char>(text[end]) & 0xC0) == 0x80)
        --end;
    return text.substr(0, end);
}
