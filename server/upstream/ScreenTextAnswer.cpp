#include "ScreenTextAnswer.h"

#include <algorithm>
#include <cctype>
#include <set>
#include <vector>

namespace {

struct Line
{
    std::string text;
    std::vector<std::string> words; // lower case
    std::size_t order = 0;
};

// Letters and digits, ASCII or not; symbols such as "©" or "—", which OCR makes of icons and
// rules, are not.
bool isLetter(char32_t c)
{
    if (c < 0x80)
        return std::isalnum(int(c));
    return (c >= 0xc0 && c < 0x2000 && c != 0xd7 && c != 0xf7) || c >= 0x3040;
}

// The next code point of UTF-8 `text` at `at`, which moves past it; bad bytes read as U+FFFD.
char32_t nextCodePoint(const std::string &text, std::size_t &at)
{
    const auto byte = [&](std::size_t i) { return static_cast<unsigned char>(text[i]); };
    const unsigned char lead = byte(at++);
    const int length = lead < 0x80    ? 0
                       : lead >= 0xf0 ? 3
                       : lead >= 0xe0 ? 2
                       : lead >= 0xc0 ? 1
                                      : -1;
    if (length < 0)
        return 0xfffd;
    char32_t c = length == 0 ? lead : lead & (0x3f >> length);
    for (int i = 0; i < length; ++i) {
        if (at >= text.size() || (byte(at) & 0xc0) != 0x80)
            return 0xfffd;
        c = c << 6 | (byte(at++) & 0x3f);
    }
    return c;
}

std::vector<std::string> words(const std::string &text)
{
    std::vector<std::string> result;
    std::string word;
    const auto flush = [&] {
        while (!word.empty() && word.back() == '\'')
            word.pop_back();
        if (!word.empty())
            result.push_back(word);
        word.clear();
    };
    for (std::size_t at = 0; at < text.size();) {
        const std::size_t start = at;
        const char32_t c = nextCodePoint(text, at);
        if (isLetter(c))
            word += c < 0x80 ? std::string(1, char(std::tolower(int(c))))
                             : text.substr(start, at - start);
        else if (c == '\'' && !word.empty())
            word += '\'';
        else
            flush();
    }
    flush();
    return result;
}

// "reports" and "report's" find "report".
std::string stem(std::string word)
{
    if (word.ends_with("'s"))
        word.resize(word.size() - 2);
    else if (word.size() > 3 && word.ends_with('s') && !word.ends_with("ss"))
        word.pop_back();
    return word;
}

// Words that ask about the screen rather than about something on it.
const std::set<std::string> &screenQuestionWords()
{
    static const std::set<std::string> list = {
        "a",       "about",  "all",    "an",      "and",       "any",      "anything",  "are",
        "at",      "can",    "could",  "current", "currently", "describe", "display",   "do",
        "does",    "for",    "give",   "going",   "here",      "i",        "in",        "is",
        "it",      "its",    "it's",   "look",    "looking",   "me",       "monitor",   "my",
        "now",     "of",     "on",     "open",    "please",    "read",     "right",     "say",
        "says",    "screen", "see",    "shown",   "show",      "showing",  "summarise", "summarize",
        "summary", "tell",   "that",   "the",     "there",     "this",     "to",        "up",
        "visible", "what",   "what's", "whats",   "which",     "window",   "written",   "you",
        "be",      "with",   "has",    "have",    "where",     "who",      "how",       "why",
        "when",    "was",    "were",   "did",     "am",        "i'm",      "im",        "there's",
        "we",      "us",     "just",   "some",
    };
    return list;
}

bool hasVowel(const std::string &word)
{
    return word.find_first_of("aeiouy") != std::string::npos;
}

// Two or more real words: OCR of icons and borders leaves lines like "| © =" or "ii lll".
bool isMeaningful(const Line &line)
{
    const auto real = std::count_if(line.words.begin(), line.words.end(), [](const std::string &w) {
        return w.size() >= 2 && hasVowel(w);
    });
    return real >= 2 && real * 2 >= std::ptrdiff_t(line.words.size());
}

// Short, capitalised and without a full stop, like a title or a heading.
bool isHeadingLike(const Line &line)
{
    if (line.words.size() < 2 || line.words.size() > 8 || line.text.ends_with('.') ||
        !std::isupper(static_cast<unsigned char>(line.text.front())))
        return false;
    // Most words that are not "of", "the" or "to" start with a capital.
    std::size_t longWords = 0;
    std::size_t capitalised = 0;
    std::size_t start = 0;
    while (start < line.text.size()) {
        auto end = line.text.find(' ', start);
        if (end == std::string::npos)
            end = line.text.size();
        if (end - start >= 4) {
            ++longWords;
            capitalised += std::isupper(static_cast<unsigned char>(line.text[start])) ? 1 : 0;
        }
        start = end + 1;
    }
    return capitalised * 2 >= longWords;
}

std::string quoted(const std::string &text)
{
    std::string shown = text;
    if (shown.size() > ScreenTextAnswer::maxQuoteLength) {
        shown.resize(ScreenTextAnswer::maxQuoteLength);
        // Never cut a UTF-8 character in two.
        while (!shown.empty() && (static_cast<unsigned char>(shown.back()) & 0xc0) == 0x80)
            shown.pop_back();
        if (!shown.empty() && static_cast<unsigned char>(shown.back()) >= 0xc0)
            shown.pop_back();
        shown += "…";
    }
    return "“" + shown + "”";
}

std::string quotedList(std::vector<const Line *> lines)
{
    std::sort(lines.begin(), lines.end(),
              [](const Line *a, const Line *b) { return a->order < b->order; });
    std::string text;
    for (const Line *line : lines)
        text += (text.empty() ? "" : "; ") + quoted(line->text);
    return text;
}

std::vector<Line> readLines(const std::string &screenText)
{
    std::vector<Line> lines;
    std::size_t start = 0;
    while (start <= screenText.size()) {
        auto end = screenText.find('\n', start);
        if (end == std::string::npos)
            end = screenText.size();
        std::string text;
        bool space = false;
        for (std::size_t i = start; i < end; ++i) {
            const unsigned char c = screenText[i];
            if (std::isspace(c)) {
                space = !text.empty();
                continue;
            }
            if (space)
                text += ' ';
            space = false;
            text += char(c);
        }
        if (auto list = words(text); !list.empty())
            lines.push_back({text, std::move(list), lines.size()});
        start = end + 1;
    }
    return lines;
}

std::string summary(const std::vector<Line> &lines)
{
    std::size_t wordCount = 0;
    for (const Line &line : lines)
        wordCount += line.words.size();
    std::string text = "I read " + std::to_string(lines.size()) +
                       (lines.size() == 1 ? " line" : " lines") + " (" + std::to_string(wordCount) +
                       (wordCount == 1 ? " word" : " words") + ") on your screen.";

    // Headings first, then the first lines of running text, shown in screen order.
    std::vector<const Line *> chosen;
    for (const bool headings : {true, false}) {
        for (const Line &line : lines) {
            if (chosen.size() >= ScreenTextAnswer::summaryLines ||
                (headings && chosen.size() >= ScreenTextAnswer::summaryLines / 2))
                break;
            if (isMeaningful(line) && isHeadingLike(line) == headings)
                chosen.push_back(&line);
        }
    }
    if (!chosen.empty())
        text += " The most prominent text: " + quotedList(chosen) + ".";
    return text;
}

std::string visionHint(const std::string &configPath)
{
    return "A vision model would answer this better: set \"chat\" with a \"url\" and a "
           "\"visionModel\" in " +
           configPath + " (or OVRIN_CHAT_URL and OVRIN_VISION_MODEL).";
}

} // namespace

std::string ScreenTextAnswer::answer(const std::string &question, const std::string &screenText,
                                     const std::string &configPath)
{
    const std::vector<Line> lines = readLines(screenText);
    if (lines.empty())
        return "I couldn't read any text on your screen.";

    std::set<std::string> asked;
    for (const std::string &word : words(question))
        if (!screenQuestionWords().contains(word))
            asked.insert(stem(word));
    if (asked.empty())
        return summary(lines);

    std::vector<std::pair<std::size_t, const Line *>> scored;
    for (const Line &line : lines) {
        std::set<std::string> shared;
        for (const std::string &word : line.words)
            if (asked.contains(stem(word)))
                shared.insert(stem(word));
        if (!shared.empty())
            scored.emplace_back(shared.size(), &line);
    }
    std::stable_sort(scored.begin(), scored.end(),
                     [](const auto &a, const auto &b) { return a.first > b.first; });
    if (scored.empty())
        return "I couldn't find anything about that in the text on your screen. " + summary(lines) +
               " " + visionHint(configPath);

    // A line sharing one word of three is no answer when others share all three.
    const std::size_t enough = (scored.front().first + 1) / 2;
    std::vector<const Line *> best;
    for (const auto &[score, line] : scored)
        if (best.size() < matchingLines && score >= enough)
            best.push_back(line);
    return "On your screen: " + quotedList(best) + ". " + visionHint(configPath);
}
