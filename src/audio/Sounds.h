#pragma once

#include <QAudioFormat>
#include <QByteArray>
#include <QObject>

#include <array>
#include <memory>

class QAudioSink;
class QBuffer;

// The four short feedback cues. Each play restarts its cue from the beginning; with no
// audio output the cue is silently skipped.
class Sounds : public QObject
{
    Q_OBJECT
public:
    enum class Sound { start, stop, done, fail };

    static Sounds &shared();
    explicit Sounds(QObject *parent = nullptr);
    ~Sounds() override;

    void play(Sound sound);

Q_SIGNALS:
    // Every play, whether or not there is an output to hear it.
    void played(Sounds::Sound sound);

private:
    struct Cue
    {
        bool loaded = false;
        QAudioFormat format;
        QByteArray samples;
        std::unique_ptr<QBuffer> buffer;
        std::unique_ptr<QAudioSink> sink;
    };
    Cue &cue(Sound sound);

    // Played through QAudioSink from memory: QSoundEffect's sample cache can deadlock
    // at exit while a cue is still loading.
    std::array<Cue, 4> m_cues;
};
