#pragma once

#include <QObject>

#include <memory>

class QAudioSink;
class QFile;

// Plays one meeting recording (16-bit PCM WAV) with a single play/stop toggle.
class MeetingAudioPlayer : public QObject
{
    Q_OBJECT
    Q_PROPERTY(bool isPlaying READ isPlaying NOTIFY isPlayingChanged)
public:
    explicit MeetingAudioPlayer(QObject *parent = nullptr);
    ~MeetingAudioPlayer() override;

    bool isPlaying() const { return m_isPlaying; }
    // Stops when playing; otherwise plays `path` from its start. A missing or
    // unreadable file changes nothing.
    Q_INVOKABLE void toggle(const QString &path);
    Q_INVOKABLE void stop();

Q_SIGNALS:
    void isPlayingChanged();

private:
    void setPlaying(bool playing);

    std::unique_ptr<QFile> m_file;
    std::unique_ptr<QAudioSink> m_sink;
    bool m_isPlaying = false;
};
