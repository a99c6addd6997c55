#pragma once

#include "SphinxDecoder.h"
#include "TranscriptionStream.h"

#include <cstdint>
#include <functional>
#include <memory>
#include <vector>

// One recording on a decoder of its own, recognised as it arrives. The decoder goes back to
// whoever lent it when the stream ends, ready for another utterance; one that failed goes back
// as null.
class SphinxStream : public TranscriptionStream
{
public:
    using Release = std::function<void(std::unique_ptr<SphinxDecoder>)>;

    SphinxStream(std::unique_ptr<SphinxDecoder> decoder, Release release);
    ~SphinxStream() override;
    SphinxStream(const SphinxStream &) = delete;
    SphinxStream &operator=(const SphinxStream &) = delete;

    void feed(const float *samples, std::size_t count) override;
    std::string finish() override;

private:
    std::unique_ptr<SphinxDecoder> m_decoder;
    Release m_release;
    std::vector<std::int16_t> m_pcm; // reused between feeds
    bool m_failed = false;
    bool m_finished = false;
};
