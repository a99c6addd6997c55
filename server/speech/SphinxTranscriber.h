#pragma once

#include "Transcriber.h"

#include <mutex>
#include <set>
#include <string>
#include <utility>
#include <vector>

struct ps_decoder_s;

// Offline recognition with pocketsphinx and its US English model. The decoder takes a second
// or more to load, so one is made up front and shared; it is not thread-safe, so requests take
// turns on it.
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

    // The model Debian's pocketsphinx-en-us installs.
    static Model defaultModel();
    // Empty when the model's files are all there; otherwise what is missing, for the user.
    static std::string missingReason(const Model &model = defaultModel());
    static bool available(const Model &model = defaultModel())
    {
        return missingReason(model).empty();
    }

    // Throws HttpError(503) naming what is missing when the decoder can't start.
    explicit SphinxTranscriber(const Model &model = defaultModel());
    ~SphinxTranscriber() override;
    SphinxTranscriber(const SphinxTranscriber &) = delete;
    SphinxTranscriber &operator=(const SphinxTranscriber &) = delete;

    // Audio at another rate is converted first. Vocabulary words the dictionary lacks are
    // added where a pronunciation can be pieced together; they stay known to the shared
    // decoder afterwards.
    std::string transcribe(const MonoAudio &audio,
                           const std::vector<std::string> &vocabulary) override;
    std::string description() const override;

    // The phones for `word` from the dictionary, spelled-out letters or its camel-case parts;
    // empty when none can be found. Exposed for tests.
    std::string pronunciation(const std::string &word);

private:
    std::string lookup(const std::string &word) const;
    std::string pronounce(const std::string &word) const;
    void addVocabulary(const std::vector<std::string> &vocabulary);

    std::vector<std::string> m_arguments;
    ps_decoder_s *m_decoder = nullptr;
    std::mutex m_mutex;
    std::set<std::string> m_tried; // vocabulary words already looked at
};
