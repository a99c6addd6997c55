#pragma once

#include "backend/EntryKind.h"

#include <QDateTime>
#include <QJsonValue>
#include <QVariantMap>

// One line of the transcript or chat history.
struct HistoryEntry
{
    QString id;
    QDateTime date;
    EntryKind kind = EntryKind::dictation;
    QString text;

    static HistoryEntry fromJson(const QJsonValue &value);
    // Every field under its own name, for list views.
    QVariantMap toVariant() const;
    bool operator==(const HistoryEntry &) const = default;
};
