#pragma once

#include <QtGlobal>

#include <vector>

// Adds what the computer plays to the microphone's blocks. The microphone keeps time: its
// blocks are never held back or dropped. The computer's samples wait in a ring of fixed
// size, so memory stays flat however long the meeting and however far the two clocks
// drift (the oldest go first). A small reserve is gathered after the start and after each
// underrun: the two streams arrive with some jitter, and without it the computer's side
// would be chopped into short gaps.
class ComputerAudioMixer
{
public:
    static constexpr double maxQueuedSeconds = 0.5;
    static constexpr double reserveSeconds = 0.1;

    // `blockFrames`: the microphone's usual block. The ring holds at least two of them
    // beside the reserve, whatever the rate.
    ComputerAudioMixer(int sampleRate, qsizetype blockFrames);

    void addComputerAudio(const float *samples, qsizetype count);
    // Adds the oldest queued samples to `microphone` in place (silence where there are
    // none yet) and clips the sum at full scale.
    void mixInto(float *microphone, qsizetype count);

    qsizetype queued() const { return m_size; }
    qsizetype capacity() const { return qsizetype(m_ring.size()); }
    qsizetype reserve() const { return m_reserve; }
    bool isGathering() const { return m_gathering; }

private:
    std::vector<float> m_ring;
    qsizetype m_head = 0; // the oldest sample
    qsizetype m_size = 0;
    qsizetype m_reserve = 0;
    bool m_gathering = true;
};
