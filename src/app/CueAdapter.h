#pragma once

#include "app/CuePlayer.h"
#include "audio/Sounds.h"

// The session's cues through the application's sounds.
class CueAdapter : public CuePlayer
{
public:
    explicit CueAdapter(Sounds &sounds) : m_sounds(sounds) {}

    void play(Cue cue) override
    {
        switch (cue) {
        case Cue::start:
            m_sounds.play(Sounds::Sound::start);
            break;
        case Cue::stop:
            m_sounds.play(Sounds::Sound::stop);
            break;
        case Cue::done:
            m_sounds.play(Sounds::Sound::done);
            break;
        case Cue::fail:
            m_sounds.play(Sounds::Sound::fail);
            break;
        }
    }

private:
    Sounds &m_sounds;
};
