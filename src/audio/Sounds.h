#pragma once

#include <QObject>

#include <array>
#include <memory>

class QSoundEffect;

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

private:
    QSoundEffect &effect(Sound sound);

    std::array<std::unique_ptr<QSoundEffect>, 4> m_effects;
};
