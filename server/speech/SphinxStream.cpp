#include "SphinxStream.h"

#include "HttpError.h"

#include <algorithm>
#include <cmath>

SphinxStream::SphinxStream(std::unique_ptr<SphinxDecoder> decoder, Release release)
    : m_decoder(std::move(decoder)), m_release(std::move(release))
{}

SphinxStream::~SphinxStream()
{
    if (m_failed)
        m_decoder.reset(); // a decoder that failed mid-utterance is not lent again
    else if (!m_finished)
        m_decoder->abandon();
    m_release(std::move(m_decoder));
}

void SphinxStream::feed(const float *samples, std::size_t count)
{
    if (m_finished)
        throw HttpError(500, "The recording was already recognised.");
    m_pcm.resize(count);
    std::transform(samples, samples + count, m_pcm.begin(), [](float s) {
        return std::int16_t(std::lrint(std::clamp(s, -1.0f, 1.0f) * 32767.0f));
    });
    try {
        m_decoder->feed(m_pcm.data(), m_pcm.size());
    } catch (...) {
        m_failed = true;
        throw;
    }
}

std::string SphinxStream::finish()
{
    if (m_finished)
        throw HttpError(500, "The recording was already recognised.");
    m_finished = true;
    try {
        return m_decoder->finish();
    } catch (...) {
        m_failed = true;
        throw;
    }
}
