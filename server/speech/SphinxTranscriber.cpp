#include "SphinxTranscriber.h"

#include "HttpError.h"
#include "SphinxStream.h"
#include "WavAudio.h"

#include <algorithm>
#include <cctype>
#include <condition_variable>
#include <filesystem>

namespace fs = std::filesystem;

namespace {

constexpr const char *modelRoot = "/usr/share/pocketsphinx/model/en-us";

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
    // Without the flat second pass the wait after the last chunk of a streamed dictation
    // drops from about 190 ms to under 20 ms (10 s of speech), and a whole recording decodes a
    // fifth faster; on flite's voices the word error rate stayed the same overall, though
    // single sentences come out differently.
    return {root + "/en-us",
            root + "/en-us.lm.bin",
            root + "/cmudict-en-us.dict",
            {{"-fwdflat", "no"}}};
}

SphinxTranscriber::Model SphinxTranscriber::thoroughModel()
{
    Model model = defaultModel();
    model.options.clear();
    return model;
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

struct SphinxTranscriber::Pool
{
    std::vector<std::string> arguments;
    std::string modelDirectory;
    std::mutex lock;
    std::condition_variable returned;
    std::vector<std::unique_ptr<SphinxDecoder>> idle;
    std::size_t alive = 0;

    // A decoder back from a recording; null when it failed and was dropped.
    void giveBack(std::unique_ptr<SphinxDecoder> decoder)
    {
        std::unique_lock guard(lock);
        if (decoder && idle.size() < keptIdle) {
            idle.push_back(std::move(decoder));
        } else {
            --alive;
            guard.unlock();
            decoder.reset();
            guard.lock();
        }
        returned.notify_one();
    }
};

SphinxTranscriber::SphinxTranscriber(const Model &model) : m_pool(std::make_shared<Pool>())
{
    if (const std::string reason = missingReason(model); !reason.empty())
        throw HttpError(503, reason);
    m_pool->arguments = {"-hmm",  model.acousticModel, "-lm", model.languageModel,
                         "-dict", model.dictionary};
    for (const auto &[name, value] : model.options) {
        m_pool->arguments.push_back(name);
        m_pool->arguments.push_back(value);
    }
    m_pool->modelDirectory = model.acousticModel;
    m_pool->idle.push_back(
        std::make_unique<SphinxDecoder>(m_pool->arguments, m_pool->modelDirectory));
    m_pool->alive = 1;
}

SphinxTranscriber::~SphinxTranscriber() = default;

std::string SphinxTranscriber::description() const
{
    return "pocketsphinx (en-us, offline)";
}

std::unique_ptr<SphinxDecoder> SphinxTranscriber::lend()
{
    Pool &pool = *m_pool;
    std::unique_lock guard(pool.lock);
    pool.returned.wait(guard, [&] { return !pool.idle.empty() || pool.alive < maxDecoders; });
    if (!pool.idle.empty()) {
        std::unique_ptr<SphinxDecoder> decoder = std::move(pool.idle.back());
        pool.idle.pop_back();
        return decoder;
    }
    ++pool.alive;
    guard.unlock();
    try {
        return std::make_unique<SphinxDecoder>(pool.arguments, pool.modelDirectory);
    } catch (...) {
        pool.giveBack(nullptr);
        throw;
    }
}

std::string SphinxTranscriber::lookup(const SphinxDecoder &decoder, const std::string &word) const
{
    if (std::string phones = decoder.lookup(word); !phones.empty())
        return phones;
    const auto added = m_added.find(word);
    return added == m_added.end() ? std::string() : added->second;
}

std::string SphinxTranscriber::pronounce(const SphinxDecoder &decoder,
                                         const std::string &word) const
{
    if (std::string phones = lookup(decoder, lower(word)); !phones.empty())
        return phones;
    std::string phones;
    for (const std::string &part : splitParts(word)) {
        if (isDigit(part[0])) {
            for (const char digit : part)
                append(phones, lookup(decoder, digitWords[digit - '0']));
            continue;
        }
        const bool acronym = part.size() > 1 && std::all_of(part.begin(), part.end(), isUpper);
        const std::string known = acronym ? std::string() : lookup(decoder, lower(part));
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
    std::unique_ptr<SphinxDecoder> decoder = lend();
    std::string phones;
    {
        std::lock_guard lock(m_vocabularyLock);
        phones = pronounce(*decoder, word);
    }
    m_pool->giveBack(std::move(decoder));
    return phones;
}

void SphinxTranscriber::teach(SphinxDecoder &decoder, const std::vector<std::string> &vocabulary)
{
    std::vector<SphinxDecoder::Word> missing;
    {
        std::lock_guard lock(m_vocabularyLock);
        for (const std::string &term : vocabulary) {
            std::size_t start = 0;
            while (start < term.size()) {
                std::size_t end = term.find_first_of(" \t\n", start);
                if (end == std::string::npos)
                    end = term.size();
                const std::string word = term.substr(start, end - start);
                start = end + 1;
                const std::string key = lower(word);
                if (word.empty() || !m_tried.insert(key).second || !lookup(decoder, key).empty())
                    continue;
                if (std::any_of(word.begin(), word.end(),
                                [](char c) { return static_cast<unsigned char>(c) >= 0x80; }))
                    continue; // outside the English model
                if (std::string phones = pronounce(decoder, word); !phones.empty()) {
                    m_added.emplace(key, phones);
                    m_additions.emplace_back(key, std::move(phones));
                }
            }
        }
        missing.assign(m_additions.begin() + std::ptrdiff_t(decoder.wordsTaken()),
                       m_additions.end());
        decoder.setWordsTaken(m_additions.size());
    }
    decoder.addWords(missing);
}

std::unique_ptr<TranscriptionStream>
SphinxTranscriber::openStream(const std::vector<std::string> &vocabulary)
{
    std::unique_ptr<SphinxDecoder> decoder = lend();
    try {
        teach(*decoder, vocabulary);
    } catch (...) {
        decoder.reset();
        m_pool->giveBack(nullptr);
        throw;
    }
    return std::make_unique<SphinxStream>(std::move(decoder),
                                          [pool = m_pool](std::unique_ptr<SphinxDecoder> returned) {
                                              pool->giveBack(std::move(returned));
                                          });
}

std::string SphinxTranscriber::transcribe(const MonoAudio &audio,
                                          const std::vector<std::string> &vocabulary)
{
    // One way through the decoder for whole recordings and streamed ones alike, so both give
    // the same words.
    const MonoAudio converted = audio.sampleRate == SphinxDecoder::sampleRate
                                    ? MonoAudio{}
                                    : WavAudio::resample(audio, SphinxDecoder::sampleRate);
    const std::vector<float> &samples =
        audio.sampleRate == SphinxDecoder::sampleRate ? audio.samples : converted.samples;
    const std::unique_ptr<TranscriptionStream> stream = openStream(vocabulary);
    stream->feed(samples.data(), samples.size());
    return stream->finish();
}
