#include "backend/AnswerStreamReader.h"

#include "backend/BackendError.h"

#include <QJsonDocument>
#include <QJsonObject>

AnswerStreamReader::AnswerStreamReader(int status, DeltaHandler onDelta, ActionHandler onAction)
    : m_status(status), m_onDelta(std::move(onDelta)), m_onAction(std::move(onAction))
{}

void AnswerStreamReader::feed(const QByteArray &bytes)
{
    if (m_skipping) {
        qsizetype lineEnd = 0;
        while (lineEnd < bytes.size() && bytes[lineEnd] != '\n' && bytes[lineEnd] != '\r')
            ++lineEnd;
        if (lineEnd == bytes.size())
            return;
        m_skipping = false;
        feed(bytes.sliced(lineEnd + 1));
        return;
    }
    // What was pending holds no line break: only the new bytes are searched, so a long
    // line arriving in many reads is not scanned over and over.
    const qsizetype searched = m_pending.size();
    m_pending.append(bytes);
    const char *data = m_pending.constData();
    const qsizetype size = m_pending.size();
    qsizetype lineStart = 0;
    for (qsizetype i = searched; i < size; ++i) {
        if (data[i] != '\n' && data[i] != '\r')
            continue;
        const qsizetype start = lineStart;
        lineStart = i + 1;
        try {
            handleLine(data + start, data + i);
        } catch (...) {
            // A failure stops the stream; drop what was consumed so a caller that
            // keeps feeding does not see the same line twice.
            m_pending.remove(0, lineStart);
            throw;
        }
    }
    m_pending.remove(0, lineStart);
    if (m_pending.size() > maxLineBytes) {
        m_pending = QByteArray();
        m_skipping = true;
    }
}

void AnswerStreamReader::finish()
{
    m_skipping = false;
    const QByteArray rest = std::exchange(m_pending, {});
    handleLine(rest.constData(), rest.constData() + rest.size());
}

void AnswerStreamReader::handleLine(const char *begin, const char *end)
{
    while (begin < end && (*begin == ' ' || *begin == '\t'))
        ++begin;
    while (end > begin && (end[-1] == ' ' || end[-1] == '\t'))
        --end;
    if (begin == end || end - begin > maxLineBytes)
        return;

    const QJsonDocument document =
        QJsonDocument::fromJson(QByteArray::fromRawData(begin, end - begin));
    if (!document.isObject())
        return; // not JSON, or not an object: skipped
    const QJsonObject event = document.object();

    if (const QJsonValue delta = event.value(QLatin1String("delta")); delta.isString()) {
        if (m_onDelta)
            m_onDelta(delta.toString());
        return;
    }
    if (const QJsonValue action = event.value(QLatin1String("action")); action.isObject()) {
        const QJsonObject object = action.toObject();
        const QJsonValue type = object.value(QLatin1String("type"));
        const QJsonValue name = object.value(QLatin1String("name"));
        if (type.isString() && name.isString() && m_onAction)
            m_onAction(type.toString(), name.toString());
        return;
    }
    if (const QJsonValue answer = event.value(QLatin1String("answer")); answer.isString()) {
        m_answer = answer.toString();
        return;
    }
    if (const QJsonValue error = event.value(QLatin1String("error")); error.isString())
        throw BackendError::http(m_status, error.toString());
}
