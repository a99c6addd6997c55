#pragma once

#include "Transcriber.h"

#include <functional>
#include <memory>
#include <mutex>
#include <string>

// A transcriber made on first use. The offline decoder takes half a second to load, which a
// server that may never hear a word shouldn't spend at start-up; a decoder that fails to load
// is tried again on the next request, so installing the model fixes a running server.
class OnDemandTranscriber : public Transcriber
{
public:
    using Factory = std::function<std::unique_ptr<Transcriber>()>;

    OnDemandTranscriber(Factory factory, std::string description);

    std::string transcribe(const MonoAudio &audio,
                           const std::vector<std::string> &vocabulary) override;
    std::unique_ptr<TranscriptionStream>
    openStream(const std::vector<std::string> &vocabulary) override;
    std::string description() const override;

private:
    Transcriber &engine();

    Factory m_factory;
    std::string m_description;
    std::mutex m_lock;
    std::unique_ptr<Transcriber> m_engine;
};
