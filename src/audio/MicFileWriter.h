#pragma once

#include <QString>

#include <memory>

struct sf_private_tag;

// Streams a meeting to a 16-bit mono WAV, one captured block at a time, so memory stays
// flat however long the meeting runs. The file is opened with the first block (its rate
// is the device's) and its header is kept current after every block, so a crash leaves
// a playable file. Blocks after close() are dropped.
class MicFileWriter
{
public:
    explicit MicFileWriter(QString path);
    ~MicFileWriter();
    MicFileWriter(const MicFileWriter &) = delete;
    MicFileWriter &operator=(const MicFileWriter &) = delete;

    const QString &path() const { return m_path; }
    // Mixes the interleaved float frames to mono and appends them; returns their level
    // (0 when the block is empty, the writer is closed or the file can't be opened).
    float write(const float *interleaved, qsizetype frames, int channels, int sampleRate);
    // Finishes the file; later writes are ignored.
    void close();
    bool isClosed() const { return m_closed; }
    qint64 framesWritten() const { return m_frames; }

private:
    QString m_path;
    sf_private_tag *m_file = nullptr;
    int m_sampleRate = 0;
    qint64 m_frames = 0;
    bool m_closed = false;
};
