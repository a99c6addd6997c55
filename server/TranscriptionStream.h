#pragma once

#include <cstddef>
#include <string>

// Speech recognised while it is still being recorded: the audio arrives piece by piece and
// only the tail is left to recognise when it ends. Not thread-safe; one caller at a time.
class TranscriptionStream
{
public:
    virtual ~TranscriptionStream() = default;
    // 16 kHz mono samples in [-1, 1]. Throws HttpError on failure.
    virtual void feed(const float *samples, std::size_t count) = 0;
    // The whole recording's text, as Transcriber::transcribe would give it; nothing may be fed
    // after. Throws HttpError on failure.
    virtual std::string finish() = 0;
};
