#include "audio/MeetingAudioPlayer.h"

#include "core/WavFileInfo.h"

#include <QAudioSink>
#include <QFile>
#include <QMediaDevices>

MeetingAudioPlayer::MeetingAudioPlayer(QObject *parent) : QObject(parent) {}

MeetingAudioPlayer::~MeetingAudioPlayer()
{
    if (m_sink)
        m_sink->stop();
}

void MeetingAudioPlayer::setPlaying(bool playing)
{
    if (playing == m_isPlaying)
        return;
    m_isPlaying = playing;
    Q_EMIT isPlayingChanged();
}

void MeetingAudioPlayer::toggle(const QString &path)
{
    if (m_isPlaying) {
        stop();
        return;
    }
    auto file = std::make_unique<QFile>(path);
    if (!file->open(QIODevice::ReadOnly))
        return;
    const auto wav = WavFileInfo::read(*file);
    if (!wav || wav->bitsPerSample != 16)
        return; // we only ever record 16-bit PCM
    QAudioFormat format;
    format.setChannelCount(wav->channels);
    format.setSampleRate(wav->sampleRate);
    format.setSampleFormat(QAudioFormat::Int16);
    auto sink = std::make_unique<QAudioSink>(QMediaDevices::defaultAudioOutput(), format);
    connect(sink.get(), &QAudioSink::stateChanged, this, [this](QAudio::State state) {
        // Idle: the file ran out. Stopped: the output went away.
        if (state == QAudio::IdleState || state == QAudio::StoppedState)
            setPlaying(false);
    });
    if (m_sink)
        m_sink->stop();
    m_file = std::move(file);
    m_sink = std::move(sink);
    m_sink->start(m_file.get());
    if (m_sink->error() != QAudio::NoError) {
        stop();
        return;
    }
    setPlaying(true);
}

void MeetingAudioPlayer::stop()
{
    if (m_sink) {
        m_sink->disconnect(this);
        m_sink->stop();
        m_sink.reset();
    }
    m_file.reset();
    setPlaying(false);
}
