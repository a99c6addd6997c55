#pragma once

#include "backend/TranscriptSegment.h"

#include <QDateTime>
#include <QList>
#include <QVariantMap>

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
    // Every field under its own name, for list views.
    QVariantMap toVariant() const;
    bool operator==(const Meeting &) const = default;
};
