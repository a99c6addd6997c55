#pragma once

#include "SphinxDecoder.h"
#include "Transcriber.h"

#include <cstddef>
#include <map>
#include <memory>
#include <mutex>
#include <set>
#include <string>
#include <utility>
#include <vector>

// Offline recognition with pocketsphinx and its US English model. A decoder is not
// thread-safe, takes a quarter of a second to load and holds about 95 MB, and a stream keeps
// one for as long as its recording lasts; so decoders are lent from a pool: one made up
// front, more as concurrent recordings need them, and only a couple kept idle.
class SphinxTranscriber : public Transcriber
{
public:
    struct Model
    {
        std::string acousticModel; // directory (-hmm)
        std::string languageModel; // -lm
        std::string dictionary;    // -dict
        // Further decoder options as name/value pairs, e.g. {"-beam", "1e-60"}.
        std::vector<std::pair<std::string, std::string>> options;
    };

    // The model Debian's pocketsphinx-en-us installs, decoded in one pass: what a dictation
    // uses, where the wait after the key's release counts.
    static Model defaultModel();
    // The same with the second, flat pass: for recordings nobody waits on (meetings).
    static Model thoroughModel();
    // Empty when the model's files are all there; otherwise what is missing, for the user.
    static std::string missingReason(const Model &model = defaultModel());
    static bool available(const Model &model = defaultModel())
    {
        return missingReason(model).empty();
    }

    // Decoders alive at once; a further recording waits for one to come back.
    static constexpr std::size_t maxDecoders = 20;
    static constexpr std::size_t keptIdle = 2;

    // Throws HttpError(503) naming what is missing when the decoder can't start.
    explicit SphinxTranscriber(const Model &model = defaultModel());
    ~SphinxTranscriber() override;
    SphinxTranscriber(const SphinxTranscriber &) = delete;
    SphinxTranscriber &operator=(const SphinxTranscriber &) = delete;

    // Audio at another rate is converted first. Vocabulary words the dictionary lacks are
    // added where a pronunciation can be pieced together; they stay known afterwards, to every
    // decoder, so that a recording is heard the same on each.
    std::string transcribe(const MonoAudio &audio,
                           const std::vector<std::string> &vocabulary) override;
    std::unique_ptr<TranscriptionStream>
    openStream(const std::vector<std::string> &vocabulary) override;
    std::string description() const override;

    // The phones for `word` from the dictionary, spelled-out letters or its camel-case parts;
    // empty when none can be found. Exposed for tests.
    std::string pronunciation(const std::string &word);

private:
    struct Pool;

    std::unique_ptr<SphinxDecoder> lend();
    // The dictionary's phones, or those of a word added for some user's vocabulary.
    std::string lookup(const SphinxDecoder &decoder, const std::string &word) const;
    std::string pronounce(const SphinxDecoder &decoder, const std::string &word) const;
    // Adds what `vocabulary` brings to the shared additions, then gives `decoder` all it lacks.
    void teach(SphinxDecoder &decoder, const std::vector<std::string> &vocabulary);

    std::shared_ptr<Pool> m_pool; // shared with the streams, which may outlive a request
    std::mutex m_vocabularyLock;
    std::set<std::string> m_tried;                // vocabulary words already looked at
    std::vector<SphinxDecoder::Word> m_additions; // in the order every decoder takes them
    std::map<std::string, std::string> m_added;   // the same, by word
};
