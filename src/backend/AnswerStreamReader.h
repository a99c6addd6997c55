#pragma once

#include <QByteArray>
#include <QString>

#include <functional>

// Reads the streamed answer: newline-delimited JSON objects that may arrive split
// across network reads or several per read. Deltas and actions reach their callbacks
// as soon as their line is complete; the last "answer" is kept; an "error" event
// throws BackendError::http with the stream's (successful) status. A line longer than
// maxLineBytes is skipped like any other line that is not an event, without being held.
class AnswerStreamReader
{
public:
    static constexpr qsizetype maxLineBytes = 4 * 1024 * 1024;

    using DeltaHandler = std::function<void(const QString &delta)>;
    using ActionHandler = std::function<void(const QString &type, const QString &name)>;

    AnswerStreamReader(int status, DeltaHandler onDelta, ActionHandler onAction = {});

    void feed(const QByteArray &bytes);
    // The stream ended: a last line without a line break still counts.
    void finish();
    const QString &answer() const { return m_answer; }

private:
    void handleLine(const char *begin, const char *end);

    int m_status;
    DeltaHandler m_onDelta;
    ActionHandler m_onAction;
    QByteArray m_pending;
    bool m_skipping = false; // inside an overlong line, up to its break
    QString m_answer;
};
