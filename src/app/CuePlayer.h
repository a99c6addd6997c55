#pragma once

// The four feedback sounds; playing one restarts it from the beginning.
enum class Cue { start, stop, done, fail };

class CuePlayer
{
public:
    virtual ~CuePlayer() = default;
    virtual void play(Cue cue) = 0;
};
