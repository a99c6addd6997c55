#include "FakeReply.h"

#include <QJsonDocument>

FakeReply &FakeReply::status(int code)
{
    m_status = code;
    return *this;
}

FakeReply &FakeReply::header(const QByteArray &name, const QByteArray &value)
{
    m_headers.append({name, value});
    return *this;
}

FakeReply &FakeReply::body(const QByteArray &bytes, const QByteArray &contentType)
{
    m_framing = Framing::length;
    m_announcedLength.reset();
    m_steps = {Step{Step::Kind::write, bytes}};
    if (!contentType.isEmpty())
        header("Content-Type", contentType);
    return *this;
}

FakeReply &FakeReply::json(const QJsonObject &object)
{
    return body(QJsonDocument(object).toJson(QJsonDocument::Compact), "application/json");
}

FakeReply &FakeReply::jsonArray(const QJsonArray &array)
{
    return body(QJsonDocument(array).toJson(QJsonDocument::Compact), "application/json");
}

void FakeReply::useChunks()
{
    if (m_framing != Framing::chunked) {
        // A body set earlier would be sent with the wrong framing.
        m_framing = Framing::chunked;
        m_steps.removeIf([](const Step &step) {
            return step.kind == Step::Kind::write || step.kind == Step::Kind::generate;
        });
    }
}

FakeReply &FakeReply::chunk(const QByteArray &bytes, int delayMs)
{
    useChunks();
    m_steps.append(Step{Step::Kind::write, bytes, delayMs});
    return *this;
}

FakeReply &FakeReply::line(const QJsonObject &event, int delayMs)
{
    return chunk(QJsonDocument(event).toJson(QJsonDocument::Compact) + '\n', delayMs);
}

FakeReply &FakeReply::hold()
{
    m_steps.append(Step{Step::Kind::hold, {}});
    return *this;
}

FakeReply &FakeReply::drop()
{
    m_steps.append(Step{Step::Kind::drop, {}});
    return *this;
}

FakeReply &FakeReply::truncated(const QByteArray &sent, qint64 announcedLength)
{
    body(sent);
    m_announcedLength = announcedLength;
    return drop();
}

FakeReply &FakeReply::generated(qint64 count, Piece piece, qint64 length)
{
    body({});
    m_steps = {Step{Step::Kind::generate, {}, 0, count, length, std::move(piece)}};
    return *this;
}

FakeReply &FakeReply::generatedChunks(qint64 count, Piece piece)
{
    useChunks();
    m_steps.append(Step{Step::Kind::generate, {}, 0, count, 0, std::move(piece)});
    return *this;
}

FakeReply &FakeReply::silent()
{
    m_framing = Framing::silent;
    m_steps.clear();
    return *this;
}

qint64 FakeReply::contentLength() const
{
    if (m_announcedLength)
        return *m_announcedLength;
    qint64 length = 0;
    for (const Step &step : m_steps)
        length += step.kind == Step::Kind::generate ? step.length : step.bytes.size();
    return length;
}
