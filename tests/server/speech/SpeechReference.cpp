#include "SpeechReference.h"

#include <algorithm>
#include <cctype>

namespace SpeechReference {

namespace {

std::vector<std::string> words(const std::string &text)
{
    std::vector<std::string> out;
    std::string current;
    for (const char c : text) {
        if (std::isalnum(static_cast<unsigned char>(c)) || c == '\'') {
            current.push_back(char(std::tolower(static_cast<unsigned char>(c))));
        } else if (!current.empty()) {
            out.push_back(current);
            current.clear();
        }
    }
    if (!current.empty())
        out.push_back(current);
    return out;
}

} // namespace

const std::vector<std::string> &sentences()
{
    static const std::vector<std::string> list = {
        "The meeting starts at nine in the morning.",
        "Please send the report to the whole team.",
        "We need to buy more coffee for the office.",
        "The weather is nice today so we can walk to the park.",
        "I will call you back after lunch.",
    };
    return list;
}

Errors compare(const std::string &reference, const std::string &hypothesis)
{
    const std::vector<std::string> ref = words(reference), hyp = words(hypothesis);
    std::vector<std::size_t> row(hyp.size() + 1);
    for (std::size_t j = 0; j <= hyp.size(); ++j)
        row[j] = j;
    for (std::size_t i = 1; i <= ref.size(); ++i) {
        std::size_t diagonal = row[0];
        row[0] = i;
        for (std::size_t j = 1; j <= hyp.size(); ++j) {
            const std::size_t above = row[j];
            row[j] = std::min(
                {row[j] + 1, row[j - 1] + 1, diagonal + (ref[i - 1] == hyp[j - 1] ? 0 : 1)});
            diagonal = above;
        }
    }
    return {row[hyp.size()], ref.size()};
}

double wordErrorRate(const std::string &reference, const std::string &hypothesis)
{
    const Errors errors = compare(reference, hypothesis);
    return errors.words == 0 ? 0.0 : 100.0 * double(errors.edits) / double(errors.words);
}

} // namespace SpeechReference
