#include "audio/MicFileWriter.h"

#include "audio/MonoMixdown.h"

#include <QFile>

#include <sndfile.h>

MicFileWriter::MicFileWriter(QString path) : m_path(std::move(path)) {}

MicFileWriter::~MicFileWriter()
{
    close();
}

float MicFileWriter::write(const float *interleaved, qsizetype frames, int channels, int sampleRate)
{
    if (m_closed || frames <= 0 || channels <= 0 || sampleRate <= 0)
        return 0.0f;
    if (!m_file) {
        SF_INFO info{};
        info.samplerate = sampleRate;
        info.channels = 1;
        info.format = SF_FORMAT_WAV | SF_FORMAT_PCM_16;
        m_file = sf_open(QFile::encodeName(m_path).constData(), SFM_WRITE, &info);
        if (!m_file)
            return 0.0f; // the next block tries again
        m_sampleRate = sampleRate;
        // A loud block clips at full scale instead of wrapping around.
        sf_command(m_file, SFC_SET_CLIPPING, nullptr, SF_TRUE);
        sf_command(m_file, SFC_SET_UPDATE_HEADER_AUTO, nullptr, SF_TRUE);
    }
    const QList<float> mono = MonoMixdown::mixdown(interleaved, frames, channels);
    m_frames += sf_writef_float(m_file, mono.constData(), mono.size());
    return MonoMixdown::level(mono.constData(), mono.size());
}

void MicFileWriter::close()
{
    m_closed = true;
    if (m_file) {
        sf_close(m_file);
        m_file = nullptr;
    }
}
