#include "audio/Sounds.h"

#include "core/ProcessWide.h"
#include "core/WavFileInfo.h"

#include <QAudioSink>
#include <QBuffer>
#include <QFile>
#include <QMediaDevices>

Sounds &Sounds::shared()
{
    return processWide<Sounds>([] { return new Sounds(); });
}

Sounds::Sounds(QObject *parent) : QObject(parent) {}

Sounds::~Sounds()
{
    for (Cue &cue : m_cues) {
        if (cue.sink)
            cue.sink->stop();
    }
}

Sounds::Cue &Sounds::cue(Sound sound)
{
    static const char *const names[] = {"start", "stop", "done", "fail"};
    Cue &cue = m_cues[static_cast<std::size_t>(sound)];
    if (cue.loaded)
        return cue;
    cue.loaded = true; // a cue that can't be read stays silent, and is not read again
    QFile file(QStringLiteral(":/ovrin/cues/%1.wav").arg(QLatin1String(names[int(sound)])));
    if (!file.open(QIODevice::ReadOnly))
        return cue;
    const auto wav = WavFileInfo::read(file);
    if (!wav || wav->bitsPerSample != 16)
        return cue;
    cue.format.setSampleRate(wav->sampleRate);
    cue.format.setChannelCount(wav->channels);
    cue.format.setSampleFormat(QAudioFormat::Int16);
    cue.samples = file.read(wav->dataBytes);
    return cue;
}

void Sounds::play(Sound sound)
{
    Q_EMIT played(sound);
    Cue &c = cue(sound);
    if (c.samples.isEmpty())
        return;
    if (c.sink)
        c.sink->stop(); // restart rather than queue behind itself
    c.sink.reset();     // before the buffer it reads from
    const QAudioDevice output = QMediaDevices::defaultAudioOutput();
    if (output.isNull())
        return;
    c.buffer = std::make_unique<QBuffer>(&c.samples);
    c.buffer->open(QIODevice::ReadOnly);
    c.sink = std::make_unique<QAudioSink>(output, c.format);
    c.sink->start(c.buffer.get());
}
