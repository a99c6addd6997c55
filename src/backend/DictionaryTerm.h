#pragma once

#include <QJsonValue>
#include <QStringList>

// A custom vocabulary term and the ways it was misheard.
struct DictionaryTerm
{
    QString id;
    QString term;
    QStringList variants;

    static DictionaryTerm fromJson(const QJsonValue &value);
    bool operator==(const DictionaryTerm &) const = default;
};
