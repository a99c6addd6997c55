#include "StreamResampler.h"

#include "HttpError.h"

#include <samplerate.h>

#include <cmath>
#include <string>

namespace {

int converterType(StreamResampler::Quality quality)
{
    switch (quality) {
    case StreamResampler::Quality::Medium:
        return SRC_SINC_MEDIUM_QUALITY;
    case StreamResampler::Quality::Best:
        return SRC_SINC_BEST_QUALITY;
    case StreamResampler::Quality::Fastest:
        break;
    }
    return SRC_SINC_FASTEST;
}

[[noreturn]] void fail(int error)
{
    throw HttpError(500, std::string("Could not convert the audio's sample rate: ") +
                             src_strerror(error) + ".");
}

} // namespace

StreamResampler::StreamResampler(int fromRate, int toRate, Quality quality)
    : m_ratio(double(toRate) / double(fromRate))
{
    if (fromRate <= 0 || toRate <= 0 || !src_is_valid_ratio(m_ratio))
        throw HttpError(400, "Unsupported audio: a sample rate of " + std::to_string(fromRate) +
                                 " Hz can't be converted to " + std::to_string(toRate) + " Hz.");
    int error = 0;
    m_state = src_new(converterType(quality), 1, &error);
    if (!m_state)
        fail(error);
}

StreamResampler::~StreamResampler()
{
    src_delete(m_state);
}

void StreamResampler::feed(const float *samples, std::size_t count, bool last,
                           std::vector<float> &out)
{
    // The converter may hold input back; keep calling until it has taken everything and,
    // at the end, until it stops producing.
    const std::size_t room = std::size_t(std::ceil(double(count) * m_ratio)) + 256;
    // libsamplerate quietly does nothing when the input pointer is null, even for a flush.
    static const float none = 0.0f;
    SRC_DATA data{};
    data.data_in = samples ? samples : &none;
    data.input_frames = long(count);
    data.src_ratio = m_ratio;
    data.end_of_input = last ? 1 : 0;
    for (;;) {
        const std::size_t start = out.size();
        out.resize(start + room);
        data.data_out = out.data() + start;
        data.output_frames = long(room);
        if (const int error = src_process(m_state, &data))
            fail(error);
        out.resize(start + std::size_t(data.output_frames_gen));
        data.data_in += data.input_frames_used;
        data.input_frames -= data.input_frames_used;
        const bool stalled = data.input_frames_used == 0 && data.output_frames_gen == 0;
        if (stalled || (data.input_frames == 0 && !last))
            break;
    }
}
