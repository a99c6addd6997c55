#pragma once

#include <QJsonValue>
#include <QStringList>
#include <QVariantMap>

// A custom vocabulary term and the ways it was misheard.
struct DictionaryTerm
{
    QString id;
    QString term;
    QStringList variants;

    static DictionaryTerm fromJson(const QJsonValue &value);
    // Every field under its own name, for list views.
    QVariantMap toVariant() const;
    bool operator==(const DictionaryTerm &) const = default;
};
