#include "backend/DecodingError.h"

DecodingError DecodingError::missingKey(const QString &key)
{
    return DecodingError(QStringLiteral("The backend's reply lacks \"%1\".").arg(key));
}

DecodingError DecodingError::wrongType(const QString &key, const QString &expected)
{
    return DecodingError(
        QStringLiteral("The backend's reply has no %1 under \"%2\".").arg(expected, key));
}

DecodingError DecodingError::unknownValue(const QString &key, const QString &value)
{
    return DecodingError(
        QStringLiteral("The backend's reply has an unknown \"%1\": %2.").arg(key, value));
}

DecodingError DecodingError::unrecognizedDate(const QString &value)
{
    return DecodingError(QStringLiteral("Unrecognized date: ") + value);
}

DecodingError DecodingError::notJson(const QString &parserMessage)
{
    return DecodingError(
        QStringLiteral("The backend's reply is not valid JSON (%1).").arg(parserMessage));
}
