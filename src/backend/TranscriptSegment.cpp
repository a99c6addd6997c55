#include "backend/TranscriptSegment.h"

#include "backend/JsonFields.h"

TranscriptSegment TranscriptSegment::fromJson(const QJsonValue &value)
{
    const QJsonObject o = JsonFields::asObject(value, QStringLiteral("segment"));
    return TranscriptSegment{
        JsonFields::requiredString(o, QStringLiteral("speaker")),
        JsonFields::requiredString(o, QStringLiteral("text")),
    };
}
