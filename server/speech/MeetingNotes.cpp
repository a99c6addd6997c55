#include "MeetingNotes.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <map>
#include <set>
#include <string_view>

namespace {

constexpr std::size_t maxTitleBytes = 80;

using Words = std::vector<std::string>;

Words words(const std::string &sentence)
{
    Words out;
    std::string current;
    for (const char c : sentence) {
        const unsigned char u = static_cast<unsigned char>(c);
        if ((u >= 'a' && u <= 'z') || (u >= '0' && u <= '9') || c == '\'' || u >= 0x80) {
            current.push_back(c);
        } else if (u >= 'A' && u <= 'Z') {
            current.push_back(char(u - 'A' + 'a'));
        } else if (!current.empty()) {
            out.push_back(std::move(current));
            current.clear();
        }
    }
    if (!current.empty())
        out.push_back(std::move(current));
    return out;
}

bool isStopWord(const std::string &word)
{
    static const std::set<std::string, std::less<>> stop = {
        "a",    "about", "after",  "all",   "also", "am",    "an",   "and",    "any",   "are",
        "as",   "at",    "be",     "been",  "but",  "by",    "can",  "could",  "did",   "do",
        "does", "for",   "from",   "get",   "go",   "going", "got",  "had",    "has",   "have",
        "he",   "her",   "him",    "his",   "how",  "i",     "i'm",  "if",     "in",    "into",
        "is",   "it",    "it's",   "its",   "just", "know",  "like", "me",     "more",  "my",
        "no",   "not",   "now",    "of",    "oh",   "ok",    "okay", "on",     "one",   "or",
        "our",  "out",   "really", "right", "so",   "some",  "that", "that's", "the",   "their",
        "them", "then",  "there",  "these", "they", "think", "this", "to",     "too",   "up",
        "us",   "very",  "was",    "we",    "well", "were",  "what", "when",   "which", "who",
        "will", "with",  "would",  "yeah",  "yes",  "you",   "your"};
    return stop.count(word) > 0;
}

bool containsPhrase(const Words &words, std::string_view phrase)
{
    Words parts;
    std::size_t start = 0;
    while (start <= phrase.size()) {
        const std::size_t end = std::min(phrase.find(' ', start), phrase.size());
        parts.emplace_back(phrase.substr(start, end - start));
        start = end + 1;
    }
    return std::search(words.begin(), words.end(), parts.begin(), parts.end()) != words.end();
}

bool containsAny(const Words &words, std::initializer_list<std::string_view> phrases)
{
    return std::any_of(phrases.begin(), phrases.end(),
                       [&](std::string_view phrase) { return containsPhrase(words, phrase); });
}

bool isDecision(const Words &w)
{
    return containsAny(w, {"decide", "decided", "decision", "agreed", "agree on", "we agree",
                           "go with", "going with", "settled on", "approved", "we chose"});
}

// "by friday", "by the end of the week", "by tomorrow"
bool hasDeadline(const Words &w)
{
    static constexpr std::array<std::string_view, 12> when = {
        "monday", "tuesday",  "wednesday", "thursday", "friday", "saturday",
        "sunday", "tomorrow", "tonight",   "next",     "the",    "end"};
    for (std::size_t i = 0; i + 1 < w.size(); ++i) {
        if (w[i] == "by" && std::find(when.begin(), when.end(), w[i + 1]) != when.end())
            return true;
    }
    return false;
}

bool isActionItem(const Words &w)
{
    return hasDeadline(w) ||
           containsAny(w, {"will", "i'll", "we'll", "you'll", "he'll", "she'll", "they'll",
                           "need to", "needs to", "should", "let's", "let us", "todo", "to do",
                           "action item", "follow up"});
}

std::vector<std::size_t> summaryPicks(const std::vector<Words> &sentences)
{
    std::map<std::string, int> frequency;
    for (const Words &sentence : sentences) {
        for (const std::string &word : sentence) {
            if (!isStopWord(word))
                ++frequency[word];
        }
    }
    std::vector<std::pair<double, std::size_t>> scored;
    for (std::size_t i = 0; i < sentences.size(); ++i) {
        double score = 0;
        int content = 0;
        for (const std::string &word : sentences[i]) {
            if (!isStopWord(word)) {
                score += frequency[word];
                ++content;
            }
        }
        // Normalised by the square root so long sentences are not favoured outright, and
        // sentences of one or two words ("Okay.") rarely make it.
        if (content > 0)
            scored.emplace_back(score / std::sqrt(double(std::max(content, 3))), i);
    }
    const std::size_t keep =
        sentences.size() <= 3
            ? scored.size()
            : std::clamp<std::size_t>(sentences.size() / 4, 3, MeetingNotes::maxSummarySentences);
    std::stable_sort(scored.begin(), scored.end(),
                     [](const auto &a, const auto &b) { return a.first > b.first; });
    std::vector<std::size_t> picks;
    for (std::size_t i = 0; i < std::min(keep, scored.size()); ++i)
        picks.push_back(scored[i].second);
    std::sort(picks.begin(), picks.end());
    return picks;
}

void addSection(std::string &notes, const std::string &heading,
                const std::vector<std::string> &bullets)
{
    if (bullets.empty())
        return;
    if (!notes.empty())
        notes += "\n\n";
    notes += heading;
    for (const std::string &bullet : bullets)
        notes += "\n- " + bullet;
}

std::string trim(const std::string &text)
{
    const std::size_t first = text.find_first_not_of(" \t\r\n");
    if (first == std::string::npos)
        return {};
    return text.substr(first, text.find_last_not_of(" \t\r\n") - first + 1);
}

} // namespace

std::string MeetingNotes::noSpeech()
{
    return "No speech was heard in this recording.";
}

std::vector<std::string> MeetingNotes::sentences(const std::string &transcript)
{
    std::vector<std::string> out;
    std::string current;
    for (std::size_t i = 0; i < transcript.size(); ++i) {
        current.push_back(transcript[i]);
        const char c = transcript[i];
        const bool boundary =
            (c == '.' || c == '!' || c == '?') &&
            (i + 1 == transcript.size() || transcript[i + 1] == ' ' || transcript[i + 1] == '\n');
        if (boundary || c == '\n') {
            if (std::string sentence = trim(current); !sentence.empty())
                out.push_back(std::move(sentence));
            current.clear();
        }
    }
    if (std::string sentence = trim(current); !sentence.empty())
        out.push_back(std::move(sentence));
    return out;
}

std::string MeetingNotes::extractive(const std::string &transcript)
{
    const std::vector<std::string> all = sentences(transcript);
    if (all.empty())
        return noSpeech();
    std::vector<Words> split;
    for (const std::string &sentence : all)
        split.push_back(words(sentence));

    std::vector<std::string> summary, decisions, actions;
    for (const std::size_t i : summaryPicks(split))
        summary.push_back(all[i]);
    for (std::size_t i = 0; i < all.size(); ++i) {
        // A decision that also hands out work is listed under both.
        if (isDecision(split[i]))
            decisions.push_back(all[i]);
        if (isActionItem(split[i]))
            actions.push_back(all[i]);
    }
    std::string notes;
    addSection(notes, "Summary", summary);
    addSection(notes, "Decisions", decisions);
    addSection(notes, "Action items", actions);
    return notes;
}

std::vector<ChatModel::Message>
MeetingNotes::request(const std::string &transcript, long long durationSec, const std::string &date)
{
    const std::string system =
        "You write notes for a meeting from its transcript, which a speech recogniser made and "
        "which may contain misheard words. Reply in plain text, no Markdown. The first line is "
        "\"Title: \" and a title of at most eight words. Then a blank line and the section "
        "\"Summary\" with the key points, then \"Decisions\" and \"Action items\" only when "
        "there are any. Each point is a line starting with \"- \". Do not invent anything that "
        "is not in the transcript.";
    const std::string user = "Meeting on " + date.substr(0, 10) + ", " +
                             std::to_string((durationSec + 59) / 60) + " min.\n\nTranscript:\n" +
                             transcript;
    return {{"system", system, ""}, {"user", user, ""}};
}

MeetingNotes::Answer MeetingNotes::parseAnswer(const std::string &answer)
{
    Answer result;
    std::string text = trim(answer);
    static constexpr std::string_view prefix = "title:";
    std::string head = text.substr(0, prefix.size());
    std::transform(head.begin(), head.end(), head.begin(),
                   [](unsigned char c) { return char(std::tolower(c)); });
    if (head == prefix) {
        const std::size_t lineEnd = std::min(text.find('\n'), text.size());
        result.title = trim(text.substr(prefix.size(), lineEnd - prefix.size()));
        // Models like to quote or embolden the title.
        while (!result.title.empty() &&
               std::string_view("\"'*").find(result.title.front()) != std::string_view::npos)
            result.title.erase(0, 1);
        while (!result.title.empty() &&
               std::string_view("\"'*").find(result.title.back()) != std::string_view::npos)
            result.title.pop_back();
        if (result.title.size() > maxTitleBytes) {
            const std::size_t cut = result.title.rfind(' ', maxTitleBytes);
            result.title = trim(result.title.substr(0, cut == std::string::npos ? 0 : cut));
        }
        text = lineEnd < text.size() ? trim(text.substr(lineEnd + 1)) : std::string();
    }
    result.notes = text;
    return result;
}
