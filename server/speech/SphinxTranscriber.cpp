#include "SphinxTranscriber.h"

#include "HttpError.h"
#include "WavAudio.h"

#include <pocketsphinx.h>
#include <sphinxbase/ckd_alloc.h>
#include <sphinxbase/cmd_ln.h>
#include <sphinxbase/err.h>

#include <algorithm>
#include <cctype>
#include <cmath>
#include <cstdint>
#include <filesystem>

namespace fs = std::filesystem;

namespace {

constexpr const char *modelRoot = "/usr/share/pocketsphinx/model/en-us";
constexpr int recogniserRate = 16000;

// Letter names, for acronyms the dictionary lacks ("AWS" is said "A W S").
constexpr const char *letterPhones[26] = {"EY",
                                          "B IY",
                                          "S IY",
                                          "D IY",
                                          "IY",
                                          "EH F",
                                          "JH IY",
                                          "EY CH",
                                          "AY",
                                          "JH EY",
                                          "K EY",
                                          "EH L",
                                          "EH M",
                                          "EH N",
                                          "OW",
                                          "P IY",
                                          "K Y UW",
                                          "AA R",
                                          "EH S",
                                          "T IY",
                                          "Y UW",
                                          "V IY",
                                          "D AH B AH L Y UW",
                                          "EH K S",
                                          "W AY",
                                          "Z IY"};
constexpr const char *digitWords[10] = {"zero", "one", "two",   "three", "four",
                                        "five", "six", "seven", "eight", "nine"};

std::string lower(std::string text)
{
    for (char &c : text)
        c = char(std::tolower(static_cast<unsigned char>(c)));
    return text;
}

bool isUpper(char c)
{
    return c >= 'A' && c <= 'Z';
}

bool isLower(char c)
{
    return c >= 'a' && c <= 'z';
}

bool isDigit(char c)
{
    return c >= '0' && c <= '9';
}

// "GitHub" -> Git, Hub; "HTTPServer" -> HTTP, Server; "mp3" -> mp, 3; "node.js" -> node, js.
std::vector<std::string> splitParts(const std::string &word)
{
    std::vector<std::string> parts;
    std::string current;
    auto flush = [&] {
        if (!current.empty())
            parts.push_back(std::move(current));
        current.clear();
    };
    for (std::size_t i = 0; i < word.size(); ++i) {
        const char c = word[i];
        if (!isUpper(c) && !isLower(c) && !isDigit(c)) {
            flush();
            continue;
        }
        if (!current.empty()) {
            const char previous = current.back();
            const bool nextLower = i + 1 < word.size() && isLower(word[i + 1]);
            if ((isLower(previous) && isUpper(c)) || (isDigit(previous) != isDigit(c)) ||
                (isUpper(previous) && isUpper(c) && nextLower))
                flush();
        }
        current.push_back(c);
    }
    flush();
    return parts;
}

void append(std::string &phones, const std::string &more)
{
    if (!phones.empty())
        phones += ' ';
    phones += more;
}

} // namespace

SphinxTranscriber::Model SphinxTranscriber::defaultModel()
{
    const std::string root = modelRoot;
    return {root + "/en-us", root + "/en-us.lm.bin", root + "/cmudict-en-us.dict", {}};
}

std::string SphinxTranscriber::missingReason(const Model &model)
{
    std::vector<std::string> needed = {model.acousticModel + "/mdef",
                                       model.acousticModel + "/means", model.languageModel,
                                       model.dictionary};
    for (const std::string &path : needed) {
        std::error_code error;
        if (!fs::is_regular_file(path, error))
            return "The offline speech model is missing: " + path +
                   " was not found (Debian package pocketsphinx-en-us).";
    }
    return {};
}

SphinxTranscriber::SphinxTranscriber(const Model &model)
{
    if (const std::string reason = missingReason(model); !reason.empty())
        throw HttpError(503, reason);
    // The parsed configuration points into these strings, so they live as long as the decoder.
    m_arguments = {"ovrin-server",      "-hmm",  model.acousticModel, "-lm",
                   model.languageModel, "-dict", model.dictionary,    "-logfn",
                   "/dev/null"};
    for (const auto &[name, value] : model.options) {
        m_arguments.push_back(name);
        m_arguments.push_back(value);
    }
    std::vector<char *> argv;
    for (std::string &argument : m_arguments)
        argv.push_back(argument.data());
    err_set_logfp(nullptr); // parsing echoes the arguments before -logfn takes effect
    if (cmd_ln_t *config =
            cmd_ln_parse_r(nullptr, ps_args(), int(argv.size()), argv.data(), TRUE)) {
        m_decoder = ps_init(config);
        cmd_ln_free_r(config); // the decoder holds its own reference
    }
    if (!m_decoder)
        throw HttpError(503,
                        "The offline recogniser (pocketsphinx) could not load its model from " +
                            model.acousticModel + ".");
}

SphinxTranscriber::~SphinxTranscriber()
{
    ps_free(m_decoder);
}

std::string SphinxTranscriber::description() const
{
    return "pocketsphinx (en-us, offline)";
}

std::string SphinxTranscriber::lookup(const std::string &word) const
{
    char *phones = ps_lookup_word(m_decoder, word.c_str());
    if (!phones)
        return {};
    std::string result = phones;
    ckd_free(phones);
    return result;
}

std::string SphinxTranscriber::pronounce(const std::string &word) const
{
    if (std::string phones = lookup(lower(word)); !phones.empty())
        return phones;
    std::string phones;
    for (const std::string &part : splitParts(word)) {
        if (isDigit(part[0])) {
            for (const char digit : part)
                append(phones, lookup(digitWords[digit - '0']));
            continue;
        }
        const bool acronym = part.size() > 1 && std::all_of(part.begin(), part.end(), isUpper);
        const std::string known = acronym ? std::string() : lookup(lower(part));
        if (!known.empty()) {
            append(phones, known);
        } else if (acronym || part.size() == 1) {
            for (const char letter : part)
                append(phones,
                       letterPhones[std::toupper(static_cast<unsigned char>(letter)) - 'A']);
        } else {
            return {}; // a real word we have no pronunciation for
        }
    }
    return phones;
}

std::string SphinxTranscriber::pronunciation(const std::string &word)
{
    std::lock_guard lock(m_mutex);
    return pronounce(word);
}

void SphinxTranscriber::addVocabulary(const std::vector<std::string> &vocabulary)
{
    std::vector<std::pair<std::string, std::string>> additions; // word, phones
    for (const std::string &term : vocabulary) {
        std::size_t start = 0;
        while (start < term.size()) {
            std::size_t end = term.find_first_of(" \t\n", start);
            if (end == std::string::npos)
                end = term.size();
            const std::string word = term.substr(start, end - start);
            start = end + 1;
            const std::string key = lower(word);
            if (word.empty() || !m_tried.insert(key).second || !lookup(key).empty())
                continue;
            if (std::any_of(word.begin(), word.end(),
                            [](char c) { return static_cast<unsigned char>(c) >= 0x80; }))
                continue; // outside the English model
            if (std::string phones = pronounce(word); !phones.empty())
                additions.emplace_back(key, std::move(phones));
        }
    }
    // Rebuilding the search takes a good part of a second, so it is done once, with the last.
    for (std::size_t i = 0; i < additions.size(); ++i)
        ps_add_word(m_decoder, additions[i].first.c_str(), additions[i].second.c_str(),
                    i + 1 == additions.size() ? TRUE : FALSE);
}

std::string SphinxTranscriber::transcribe(const MonoAudio &audio,
                                          const std::vector<std::string> &vocabulary)
{
    const MonoAudio converted = audio.sampleRate == recogniserRate
                                    ? MonoAudio{}
                                    : WavAudio::resample(audio, recogniserRate);
    const std::vector<float> &samples =
        audio.sampleRate == recogniserRate ? audio.samples : converted.samples;
    std::vector<std::int16_t> pcm(samples.size());
    std::transform(samples.begin(), samples.end(), pcm.begin(), [](float s) {
        return std::int16_t(std::lrint(std::clamp(s, -1.0f, 1.0f) * 32767.0f));
    });

    std::lock_guard lock(m_mutex);
    addVocabulary(vocabulary);
    if (pcm.size() < recogniserRate / 10)
        return {}; // too short to hold a word
    if (ps_start_utt(m_decoder) < 0 ||
        ps_process_raw(m_decoder, pcm.data(), pcm.size(), FALSE, TRUE) < 0 ||
        ps_end_utt(m_decoder) < 0)
        throw HttpError(500, "The offline recogniser (pocketsphinx) failed on this audio.");
    int32 score = 0;
    const char *hypothesis = ps_get_hyp(m_decoder, &score);
    return hypothesis ? hypothesis : "";
}
