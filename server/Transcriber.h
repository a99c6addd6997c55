#pragma once

#include "MonoAudio.h"
#include "TranscriptionStream.h"

#include <memory>
#include <string>
#include <vector>

// Speech to text. The offline recogniser and an upstream service both answer this.
class Transcriber
{
public:
    virtual ~Transcriber() = default;
    // `audio` is 16 kHz mono. `vocabulary` holds the user's dictionary terms, which an engine
    // adds to what it can recognise where it is able to. Throws HttpError on failure.
    virtual std::string transcribe(const MonoAudio &audio,
                                   const std::vector<std::string> &vocabulary) = 0;
    // A stream for one recording with the same `vocabulary`, or null when the engine only takes
    // whole recordings. Throws HttpError when the engine can't start.
    virtual std::unique_ptr<TranscriptionStream> openStream(const std::vector<std::string> &)
    {
        return nullptr;
    }
    // Shown by `ovrin-server --check` and in error texts, e.g. "pocketsphinx (en-us)".
    virtual std::string description() const = 0;
};
