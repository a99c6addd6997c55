#include "core/WavFileInfo.h"

#include <QIODevice>
#include <QtEndian>

std::optional<WavFileInfo> WavFileInfo::read(QIODevice &device)
{
    const QByteArray riff = device.read(12);
    if (riff.size() != 12 || !riff.startsWith("RIFF") || riff.mid(8, 4) != "WAVE")
        return std::nullopt;
    std::optional<WavFileInfo> info;
    for (;;) {
        const QByteArray chunk = device.read(8);
        if (chunk.size() != 8)
            return std::nullopt;
        const quint32 size = qFromLittleEndian<quint32>(chunk.constData() + 4);
        if (chunk.startsWith("fmt ")) {
            const QByteArray fmt = device.read(size + (size & 1));
            if (fmt.size() < 16 || qFromLittleEndian<quint16>(fmt.constData()) != 1)
                return std::nullopt;
            info = WavFileInfo{qFromLittleEndian<quint16>(fmt.constData() + 2),
                               int(qFromLittleEndian<quint32>(fmt.constData() + 4)),
                               qFromLittleEndian<quint16>(fmt.constData() + 14), 0, 0};
        } else if (chunk.startsWith("data")) {
            if (!info || info->channels <= 0 || info->sampleRate <= 0)
                return std::nullopt;
            info->dataOffset = device.pos();
            // A file cut short (a crash mid-recording) holds less than announced.
            info->dataBytes = std::min<qint64>(size, device.size() - device.pos());
            return info;
        } else if (!device.seek(device.pos() + size + (size & 1))) {
            return std::nullopt;
        }
    }
}

double WavFileInfo::durationSeconds() const
{
    const qint64 frameBytes = qint64(channels) * (bitsPerSample / 8);
    return frameBytes > 0 && sampleRate > 0 ? double(dataBytes / frameBytes) / sampleRate : 0.0;
}
