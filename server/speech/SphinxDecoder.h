#pragma once

#include <cstddef>
#include <cstdint>
#include <string>
#include <utility>
#include <vector>

struct ps_decoder_s;

// One pocketsphinx decoder and the single way audio goes through it: blocks of a tenth of a
// second with a running cepstral mean, each utterance starting from the same state whatever
// the decoder heard before. So a recording gives the same words whether it arrived whole or
// piece by piece while it was spoken, and on whichever decoder of the pool.
class SphinxDecoder
{
public:
    using Word = std::pair<std::string, std::string>; // word, phones

    static constexpr int sampleRate = 16000;
    static constexpr std::size_t blockSamples = sampleRate / 10;

    // `arguments` is pocketsphinx's command line after the program name. Throws HttpError(503)
    // naming `modelDirectory` when the decoder can't start.
    SphinxDecoder(std::vector<std::string> arguments, const std::string &modelDirectory);
    ~SphinxDecoder();
    SphinxDecoder(const SphinxDecoder &) = delete;
    SphinxDecoder &operator=(const SphinxDecoder &) = delete;

    // The dictionary's phones for `word`; empty when it has none.
    std::string lookup(const std::string &word) const;
    // Adds words to the dictionary and the language model, rebuilding the search once.
    void addWords(const std::vector<Word> &words);
    // How many of its owner's shared vocabulary additions this decoder has taken.
    std::size_t wordsTaken() const { return m_wordsTaken; }
    void setWordsTaken(std::size_t count) { m_wordsTaken = count; }

    // 16 kHz samples of the current utterance, recognised a block at a time as they fill.
    void feed(const std::int16_t *samples, std::size_t count);
    // Recognises the rest and returns the utterance's words; less than a block in all is too
    // short to hold a word and gives "". Throws HttpError(500) when the recogniser fails.
    std::string finish();
    // Ends an utterance nobody wants the words of, leaving the decoder ready for the next.
    void abandon();

private:
    void begin();
    void process(const std::int16_t *samples, std::size_t count);

    std::vector<std::string> m_arguments; // the parsed configuration points into these
    ps_decoder_s *m_decoder = nullptr;
    std::vector<float> m_modelMean;      // the model's initial cepstral mean (-cmninit)
    std::vector<std::int16_t> m_pending; // less than a block, waiting for the rest
    bool m_started = false;
    std::size_t m_wordsTaken = 0;
};
