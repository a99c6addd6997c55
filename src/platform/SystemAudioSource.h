#pragma once

#include <QList>
#include <QObject>

// What the computer plays (the default output, as the speakers hear it), so a meeting has
// the other side of a call as well as the microphone.
class SystemAudioSource : public QObject
{
    Q_OBJECT
public:
    using QObject::QObject;

    // False when recording can't even begin. A failure found later (no output to listen to,
    // the sound server gone) is reported once by `failed`, and nothing is captured after it.
    virtual bool start(int sampleRate) = 0;
    // Nothing is emitted after this returns.
    virtual void stop() = 0;

Q_SIGNALS:
    // Mono float samples at the rate asked for. Both signals may come from the sound
    // server's own thread: receivers connect them queued.
    void captured(const QList<float> &samples);
    void failed();
};
