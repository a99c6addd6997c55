#include "OnDemandTranscriber.h"

OnDemandTranscriber::OnDemandTranscriber(Factory factory, std::string description)
    : m_factory(std::move(factory)), m_description(std::move(description))
{}

Transcriber &OnDemandTranscriber::engine()
{
    std::lock_guard lock(m_lock);
    if (!m_engine)
        m_engine = m_factory();
    return *m_engine;
}

std::string OnDemandTranscriber::transcribe(const MonoAudio &audio,
                                            const std::vector<std::string> &vocabulary)
{
    // The engine serialises its own work; holding m_lock here would too, needlessly.
    return engine().transcribe(audio, vocabulary);
}

std::unique_ptr<TranscriptionStream>
OnDemandTranscriber::openStream(const std::vector<std::string> &vocabulary)
{
    return engine().openStream(vocabulary);
}

std::string OnDemandTranscriber::description() const
{
    return m_description;
}
