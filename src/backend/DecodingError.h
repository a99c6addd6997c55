#pragma once

#include "core/DescribedError.h"

// A reply body that could not be decoded into the expected record: not JSON, a key
// missing or null, a value of the wrong type, an unknown enumeration value or a date
// in neither accepted form. Endpoints that promise `badResponse` translate it.
class DecodingError : public DescribedError
{
public:
    using DescribedError::DescribedError;

    static DecodingError missingKey(const QString &key);
    static DecodingError wrongType(const QString &key, const QString &expected);
    static DecodingError unknownValue(const QString &key, const QString &value);
    static DecodingError unrecognizedDate(const QString &value);
    static DecodingError notJson(const QString &parserMessage);
};
