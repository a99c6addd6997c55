#pragma once

#include <QJsonValue>
#include <QString>

// One speaker's stretch of a meeting transcript.
struct TranscriptSegment
{
    QString speaker;
    QString text;

    static TranscriptSegment fromJson(const QJsonValue &value);
    bool operator==(const TranscriptSegment &) const = default;
};
