// Uploaded recordings: any bytes are either refused with a 400 or give samples in [-1, 1]
// at a rate the recogniser can be fed.
#include "HttpError.h"
#include "WavAudio.h"

#include <cmath>
#include <cstdint>
#include <cstdlib>
#include <string>

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t *data, std::size_t size)
{
    const std::string bytes(reinterpret_cast<const char *>(data), size);
    MonoAudio audio;
    try {
        audio = WavAudio::decode(bytes);
    } catch (const HttpError &error) {
        if (error.status() != 400 || std::string(error.what()).rfind("Unsupported audio: ", 0) != 0)
            std::abort();
        return 0;
    }
    if (audio.sampleRate < 1000 || audio.sampleRate > 384000 || audio.samples.size() * 2 > size)
        std::abort();
    for (float sample : audio.samples) {
        if (!std::isfinite(sample) || sample < -1.0f || sample > 1.0f)
            std::abort();
    }
    // The route converts what it decoded to 16 kHz; keep that to short inputs.
    if (audio.samples.size() <= 4096) {
        const MonoAudio resampled = WavAudio::resample(audio, 16000);
        if (resampled.sampleRate != 16000)
            std::abort();
    }
    return 0;
}
