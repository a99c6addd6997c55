#include "audio/MeetingAudioPlayer.h"

#include <QAudioSink>
#include <QFile>
#include <QMediaDevices>
#include <QtEndian>

namespace {

// Finds the format and the start of the samples of a PCM WAV; false for anything else.
bool readWavHeader(QFile &file, QAudioFormat &format)
{
    const QByteArray riff = file.read(12);
    if (riff.size() != 12 || !riff.startsWith("RIFF") || riff.mid(8, 4) != "WAVE")
        return false;
    bool haveFormat = false;
    for (;;) {
        const QByteArray chunk = file.read(8);
        if (chunk.size() != 8)
            return false;
        const quint32 size = qFromLittleEndian<quint32>(chunk.constData() + 4);
        if (chunk.startsWith("fmt ")) {
            const QByteArray fmt = file.read(size);
            if (fmt.size() < 16 || qFromLittleEndian<quint16>(fmt.constData()) != 1 ||
                qFromLittleEndian<quint16>(fmt.constData() + 14) != 16)
                return false; // only 16-bit PCM is recorded
            format.setChannelCount(qFromLittleEndian<quint16>(fmt.constData() + 2));
            format.setSampleRate(int(qFromLittleEndian<quint32>(fmt.constData() + 4)));
            format.setSampleFormat(QAudioFormat::Int16);
            haveFormat = true;
        } else if (chunk.startsWith("data")) {
            return haveFormat; // positioned at the first sample
        } else if (!file.seek(file.pos() + size + (size & 1))) {
            return false;
        }
    }
}

} // namespace

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
    QAudioFormat format;
    if (!file->open(QIODevice::ReadOnly) || !readWavHeader(*file, format))
        return;
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
