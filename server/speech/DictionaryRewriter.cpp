#include "DictionaryRewriter.h"

#include <algorithm>

namespace {

// Bytes of UTF-8 sequences count as word characters, so a match never ends inside a character.
bool isWordByte(unsigned char c)
{
    return (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z') || (c >= '0' && c <= '9') || c == '_' ||
           c >= 0x80;
}

bool isSpace(unsigned char c)
{
    return c == ' ' || c == '\t' || c == '\n' || c == '\r';
}

unsigned char fold(unsigned char c)
{
    return (c >= 'A' && c <= 'Z') ? c + ('a' - 'A') : c;
}

std::string normalise(const std::string &text)
{
    std::string out;
    for (const unsigned char c : text) {
        if (isSpace(c)) {
            if (!out.empty() && out.back() != ' ')
                out.push_back(' ');
        } else {
            out.push_back(char(fold(c)));
        }
    }
    if (!out.empty() && out.back() == ' ')
        out.pop_back();
    return out;
}

// The end of a match of `pattern` at `start` of `text`, or npos.
std::size_t matchAt(const std::string &text, std::size_t start, const std::string &pattern)
{
    std::size_t t = start;
    for (const unsigned char p : pattern) {
        if (p == ' ') {
            if (t >= text.size() || !isSpace(text[t]))
                return std::string::npos;
            while (t < text.size() && isSpace(text[t]))
                ++t;
        } else {
            if (t >= text.size() || fold(text[t]) != p)
                return std::string::npos;
            ++t;
        }
    }
    // Whole words: a pattern that ends in a word character must not run on into another.
    if (isWordByte(pattern.back()) && t < text.size() && isWordByte(text[t]))
        return std::string::npos;
    return t;
}

} // namespace

DictionaryRewriter::DictionaryRewriter(const std::vector<Term> &terms) : m_terms(terms)
{
    for (std::size_t t = 0; t < m_terms.size(); ++t) {
        for (const std::string &variant : m_terms[t].variants) {
            if (std::string folded = normalise(variant); !folded.empty())
                m_patterns.push_back({std::move(folded), t});
        }
        if (std::string folded = normalise(m_terms[t].term); !folded.empty())
            m_patterns.push_back({std::move(folded), t});
    }
    std::stable_sort(m_patterns.begin(), m_patterns.end(), [](const Pattern &a, const Pattern &b) {
        return a.folded.size() > b.folded.size();
    });
}

std::string DictionaryRewriter::rewrite(const std::string &text) const
{
    if (m_patterns.empty())
        return text;
    std::string out;
    out.reserve(text.size());
    std::size_t i = 0;
    while (i < text.size()) {
        const bool wordStart = i == 0 || !isWordByte(text[i - 1]);
        std::size_t end = std::string::npos;
        const std::string *replacement = nullptr;
        for (const Pattern &pattern : m_patterns) {
            if (!wordStart && isWordByte(pattern.folded.front()))
                continue;
            end = matchAt(text, i, pattern.folded);
            if (end != std::string::npos) {
                replacement = &m_terms[pattern.term].term;
                break;
            }
        }
        if (replacement) {
            out += *replacement;
            i = end;
        } else {
            out.push_back(text[i]);
            ++i;
        }
    }
    return out;
}
