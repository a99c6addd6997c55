#pragma once

#include "MonoAudio.h"
#include "StreamResampler.h"

#include <string>

// 16-bit PCM WAV in and out. Uploads arrive at any rate and channel count; the recognisers
// want 16 kHz mono. Refusals are HttpError(400, "Unsupported audio: ...").
class WavAudio
{
public:
    // Channels are averaged to one. A data chunk cut short decodes what is there.
    static MonoAudio decode(const std::string &bytes);
    // Reads the file in blocks and converts each to `targetRate` as it goes, so only the
    // result is ever held whole (an hour at 16 kHz is 230 MB; its 48 kHz stereo source is not
    // loaded).
    static MonoAudio
    decodeFile(const std::string &path, int targetRate,
               StreamResampler::Quality quality = StreamResampler::Quality::Medium);
    static MonoAudio resample(const MonoAudio &audio, int rate,
                              StreamResampler::Quality quality = StreamResampler::Quality::Medium);
    // A mono 16-bit PCM WAV file's bytes.
    static std::string encode16(const MonoAudio &audio);
};
