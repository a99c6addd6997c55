#pragma once

#include <QtGlobal>

#include <optional>

class QIODevice;

// The format and sample data of a PCM WAV file, found by walking its chunks.
struct WavFileInfo
{
    int channels = 0;
    int sampleRate = 0;
    int bitsPerSample = 0;
    qint64 dataOffset = 0;
    qint64 dataBytes = 0;

    // Leaves `device` at the first sample. Nothing for anything but integer PCM.
    static std::optional<WavFileInfo> read(QIODevice &device);
    double durationSeconds() const;
};
