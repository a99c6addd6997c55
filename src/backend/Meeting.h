#pragma once

#include "backend/TranscriptSegment.h"

#include <QDateTime>
#include <QList>

// A recorded meeting with its notes; `segments` is empty when the backend sent none.
struct Meeting
{
    QString id;
    QString title;
    QString transcript;
    QList<TranscriptSegment> segments;
    QString notes;
    qint64 durationSec = 0;
    QDateTime date;

    static Meeting fromJson(const QJsonValue &value);
    bool operator==(const Meeting &) const = default;
};
