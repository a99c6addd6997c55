#include "backend/Meeting.h"

#include "backend/JsonFields.h"

Meeting Meeting::fromJson(const QJsonValue &value)
{
    const QJsonObject o = JsonFields::asObject(value, QStringLiteral("meeting"));
    Meeting meeting;
    meeting.id = JsonFields::requiredString(o, QStringLiteral("id"));
    meeting.title = JsonFields::requiredString(o, QStringLiteral("title"));
    meeting.transcript = JsonFields::requiredString(o, QStringLiteral("transcript"));
    if (const auto segments = JsonFields::optionalArray(o, QStringLiteral("segments")))
        meeting.segments = JsonFields::records<TranscriptSegment>(*segments);
    meeting.notes = JsonFields::requiredString(o, QStringLiteral("notes"));
    meeting.durationSec = JsonFields::requiredInteger(o, QStringLiteral("durationSec"));
    meeting.date = JsonFields::requiredDate(o, QStringLiteral("date"));
    return meeting;
}

QVariantMap Meeting::toVariant() const
{
    QVariantList segmentList;
    segmentList.reserve(segments.size());
    for (const TranscriptSegment &segment : segments)
        segmentList.append(QVariantMap{{QStringLiteral("speaker"), segment.speaker},
                                       {QStringLiteral("text"), segment.text}});
    return {{QStringLiteral("id"), id},
            {QStringLiteral("title"), title},
            {QStringLiteral("transcript"), transcript},
            {QStringLiteral("segments"), segmentList},
            {QStringLiteral("notes"), notes},
            {QStringLiteral("durationSec"), durationSec},
            {QStringLiteral("date"), date}};
}
