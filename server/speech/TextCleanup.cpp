#include "TextCleanup.h"

#include <algorithm>
#include <array>
#include <string_view>
#include <vector>

namespace {

struct Token
{
    std::string text;
    bool punctuation = false; // a run of , . ; : ! ?
};

bool isPunctuation(char c)
{
    return c == ',' || c == '.' || c == ';' || c == ':' || c == '!' || c == '?';
}

bool isSpace(char c)
{
    return c == ' ' || c == '\t' || c == '\n' || c == '\r';
}

std::string lower(std::string text)
{
    for (char &c : text) {
        if (c >= 'A' && c <= 'Z')
            c = char(c - 'A' + 'a');
    }
    return text;
}

bool endsSentence(const Token &token)
{
    return token.punctuation && token.text.find_first_of(".!?") != std::string::npos;
}

bool isComma(const Token &token)
{
    return token.punctuation && !endsSentence(token);
}

bool isWord(const std::vector<Token> &tokens, std::size_t i)
{
    return i < tokens.size() && !tokens[i].punctuation;
}

bool isFiller(const std::string &word)
{
    static constexpr std::array<std::string_view, 11> fillers = {
        "um", "umm", "ummm", "uh", "uhh", "uhm", "er", "erm", "ah", "ahh", "hmm"};
    const std::string folded = lower(word);
    return std::find(fillers.begin(), fillers.end(), folded) != fillers.end();
}

// Words after which "you know" is meant literally ("do you know", "as you know", "what you
// know").
bool takesLiteralYouKnow(const std::string &word)
{
    static constexpr std::array<std::string_view, 22> words = {
        "do",   "does", "did",   "don't", "doesn't", "didn't", "would", "could",
        "will", "can",  "if",    "as",    "now",     "what",   "how",   "who",
        "that", "than", "think", "guess", "hope",    "because"};
    const std::string folded = lower(word);
    return std::find(words.begin(), words.end(), folded) != words.end();
}

// Splits at spaces; a run of punctuation at either end of a piece becomes its own token, so
// "3.5" and "e.g" stay whole while "um," splits.
std::vector<Token> tokenise(const std::string &text)
{
    std::vector<Token> tokens;
    std::size_t i = 0;
    while (i < text.size()) {
        if (isSpace(text[i])) {
            ++i;
            continue;
        }
        std::size_t end = i;
        while (end < text.size() && !isSpace(text[end]))
            ++end;
        std::size_t wordStart = i;
        while (wordStart < end && isPunctuation(text[wordStart]))
            ++wordStart;
        std::size_t wordEnd = end;
        while (wordEnd > wordStart && isPunctuation(text[wordEnd - 1]))
            --wordEnd;
        if (wordStart > i)
            tokens.push_back({text.substr(i, wordStart - i), true});
        if (wordEnd > wordStart)
            tokens.push_back({text.substr(wordStart, wordEnd - wordStart), false});
        if (end > wordEnd)
            tokens.push_back({text.substr(wordEnd, end - wordEnd), true});
        i = end;
    }
    return tokens;
}

// Drops what is left of the punctuation around removed words: none at the very start,
// adjacent runs merged, and a sentence end wins over a comma before it (", ." -> ".").
std::vector<Token> tidyPunctuation(const std::vector<Token> &tokens)
{
    std::vector<Token> out;
    for (const Token &token : tokens) {
        if (!token.punctuation) {
            out.push_back(token);
            continue;
        }
        if (out.empty())
            continue;
        if (!out.back().punctuation) {
            out.push_back(token);
            continue;
        }
        Token &previous = out.back();
        if (endsSentence(previous) && !endsSentence(token))
            continue;
        if (endsSentence(token) && !endsSentence(previous))
            previous = token;
        else if (endsSentence(token))
            previous.text += token.text;
    }
    return out;
}

// "you know" at `i` is a filler when pauses surround it: it stands between punctuation or the
// ends of the text ("it was, you know, hard"; "You know, it's late"). It is also one as a tag
// at the end of a sentence ("it was hard you know.") unless the word before makes it literal
// ("do you know"). Followed by a word or a question mark it is kept ("you know what I mean?").
// `before` is the token kept before it, if any.
bool isYouKnowFiller(const std::vector<Token> &tokens, std::size_t i, const Token *before)
{
    if (!isWord(tokens, i + 1) || lower(tokens[i].text) != "you" ||
        lower(tokens[i + 1].text) != "know")
        return false;
    const std::size_t after = i + 2;
    const bool pauseAfter =
        after == tokens.size() ||
        (tokens[after].punctuation && tokens[after].text.find('?') == std::string::npos);
    if (!pauseAfter)
        return false;
    if (!before || before->punctuation)
        return true;
    const bool sentenceEnd = after == tokens.size() || endsSentence(tokens[after]);
    return sentenceEnd && !takesLiteralYouKnow(before->text);
}

// Drops fillers with the pause they brought: a comma after one, and a comma before it too
// when the sentence carries on ("we, uh, should" -> "we should").
std::vector<Token> removeFillers(const std::vector<Token> &tokens)
{
    std::vector<Token> out;
    out.reserve(tokens.size());
    std::size_t i = 0;
    while (i < tokens.size()) {
        std::size_t length = 0;
        if (!tokens[i].punctuation) {
            if (isFiller(tokens[i].text))
                length = 1;
            else if (isYouKnowFiller(tokens, i, out.empty() ? nullptr : &out.back()))
                length = 2;
        }
        if (length == 0) {
            out.push_back(tokens[i++]);
            continue;
        }
        i += length;
        if (i < tokens.size() && isComma(tokens[i]))
            ++i;
        if (!out.empty() && isComma(out.back()) && isWord(tokens, i))
            out.pop_back();
    }
    return out;
}

void capitalise(std::string &word)
{
    for (char &c : word) {
        if (c >= 'a' && c <= 'z') {
            c = char(c - 'a' + 'A');
            return;
        }
        if ((c >= 'A' && c <= 'Z') || (c >= '0' && c <= '9') || (unsigned char)c >= 0x80)
            return;
    }
}

// Words always written with a capital that the recogniser gives in lower case. March and May
// are left alone: they are also ordinary words.
bool isProperNoun(const std::string &word)
{
    static constexpr std::array<std::string_view, 17> names = {
        "monday", "tuesday",   "wednesday", "thursday", "friday",  "saturday",
        "sunday", "january",   "february",  "april",    "june",    "july",
        "august", "september", "october",   "november", "december"};
    std::string_view stem = word;
    if (stem.size() > 2 && stem.substr(stem.size() - 2) == "'s")
        stem.remove_suffix(2);
    else if (stem.size() > 1 && stem.back() == 's')
        stem.remove_suffix(1); // "mondays"
    return std::find(names.begin(), names.end(), stem) != names.end();
}

bool isPronounI(const std::string &word)
{
    return word == "i" || word.rfind("i'", 0) == 0;
}

bool hasFinalPunctuation(const std::string &word)
{
    const std::size_t last = word.find_last_not_of("\"')]");
    return last != std::string::npos &&
           (word[last] == '.' || word[last] == '!' || word[last] == '?');
}

} // namespace

std::string TextCleanup::clean(const std::string &text)
{
    std::vector<Token> tokens = tidyPunctuation(removeFillers(tokenise(text)));
    if (tokens.empty())
        return {};

    std::string out;
    bool sentenceStart = true;
    for (Token &token : tokens) {
        if (token.punctuation) {
            out += token.text;
            sentenceStart = endsSentence(token);
            continue;
        }
        if (sentenceStart || isPronounI(token.text) || isProperNoun(token.text))
            capitalise(token.text);
        sentenceStart = false;
        if (!out.empty())
            out += ' ';
        out += token.text;
    }
    const Token &last = tokens.back();
    if (last.punctuation && !endsSentence(last)) {
        out.resize(out.size() - last.text.size()); // a trailing comma or colon becomes the stop
        out += '.';
    } else if (!last.punctuation && !hasFinalPunctuation(last.text))
        out += '.';
    return out;
}
