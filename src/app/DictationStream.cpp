#include "app/DictationStream.h"

#include "audio/AudioRecorder.h"
#include "backend/Backend.h"
#include "core/DescribedError.h"

#include <QCoro/QCoroSignal>
#include <QPointer>
#include <QtEndian>

#include <algorithm>
#include <cmath>

DictationStream::DictationStream(Backend &backend, int sampleRate, bool cleanup, QObject *parent)
    : QObject(parent), m_backend(backend),
      m_chunkBytes(std::max<qsizetype>(2, qsizetype(sampleRate * chunkSeconds) * 2))
{
    open(sampleRate, cleanup);
}

std::shared_ptr<DictationStream> DictationStream::follow(AudioRecorder &recorder, Backend &backend,
                                                         bool cleanup)
{
    auto stream = std::make_shared<DictationStream>(backend, int(recorder.sampleRate()), cleanup);
    stream->append(recorder.samples());
    connect(&recorder, &AudioRecorder::samplesCaptured, stream.get(), &DictationStream::append);
    return stream;
}

DictationStream::~DictationStream()
{
    if (!m_ended && !m_stream.isEmpty())
        m_backend.dropTranscriptionStream(m_stream);
}

void DictationStream::append(const QList<float> &mono)
{
    if (m_ended || m_finishing)
        return;
    const qsizetype at = m_pending.size();
    m_pending.resize(at + mono.size() * 2);
    auto *out = reinterpret_cast<uchar *>(m_pending.data() + at);
    for (float sample : mono) {
        const auto value = qint16(std::lround(std::clamp(sample, -1.0f, 1.0f) * 32767.0f));
        qToLittleEndian(value, out);
        out += 2;
    }
    pump();
}

void DictationStream::abandon()
{
    m_abandoned = true;
    pump();
}

void DictationStream::fail(const QString &problem)
{
    if (m_problem.isEmpty())
        m_problem = problem;
}

void DictationStream::end()
{
    if (m_ended)
        return;
    if (!m_stream.isEmpty() && (!m_problem.isEmpty() || m_abandoned))
        m_backend.dropTranscriptionStream(m_stream);
    m_ended = true;
    Q_EMIT ended();
}

void DictationStream::pump()
{
    if (m_busy || m_ended)
        return;
    if (!m_problem.isEmpty() || m_abandoned) {
        end();
        return;
    }
    const bool full = m_pending.size() >= m_chunkBytes;
    if (full || (m_finishing && !m_pending.isEmpty())) {
        const qsizetype bytes = full ? m_chunkBytes : m_pending.size();
        QByteArray chunk = m_pending.left(bytes);
        m_pending.remove(0, bytes);
        m_busy = true;
        step(std::move(chunk), m_seq++);
    } else if (m_finishing) {
        m_busy = true;
        step(std::nullopt, m_seq);
    }
}

QCoro::Task<void> DictationStream::open(int sampleRate, bool cleanup)
{
    QPointer<DictationStream> self(this);
    Backend &backend = m_backend;
    try {
        QString stream = co_await backend.openTranscriptionStream(sampleRate, cleanup);
        if (self)
            m_stream = std::move(stream);
    } catch (...) {
        if (self)
            fail(DescribedError::describe(std::current_exception()));
    }
    if (!self)
        co_return;
    m_busy = false;
    pump();
}

QCoro::Task<void> DictationStream::step(std::optional<QByteArray> chunk, int seq)
{
    QPointer<DictationStream> self(this);
    Backend &backend = m_backend;
    const QString stream = m_stream;
    const CancellationToken cancel = m_cancel;
    std::optional<QString> text;
    try {
        if (chunk)
            co_await backend.sendTranscriptionAudio(stream, seq, std::move(*chunk), cancel);
        else
            text = co_await backend.finishTranscriptionStream(stream, cancel);
    } catch (...) {
        if (self)
            fail(DescribedError::describe(std::current_exception()));
    }
    if (!self)
        co_return;
    m_busy = false;
    if (chunk) {
        pump();
        co_return;
    }
    m_text = std::move(text);
    // The server forgets a finished stream by itself.
    if (m_problem.isEmpty())
        m_stream.clear();
    end();
}

QCoro::Task<std::optional<QString>> DictationStream::finish(CancellationToken cancel)
{
    QPointer<DictationStream> self(this);
    m_cancel = std::move(cancel);
    m_finishing = true;
    pump();
    if (!m_ended)
        co_await qCoro(this, &DictationStream::ended);
    if (!self || m_cancel.isCancelled() || !m_problem.isEmpty())
        co_return std::nullopt;
    co_return m_text;
}
