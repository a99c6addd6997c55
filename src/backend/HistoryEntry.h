#pragma once

#include "backend/EntryKind.h"

#include <QDateTime>
#include <QJsonValue>

// One line of the transcript or chat history.
struct HistoryEntry
{
    QString id;
    QDateTime date;
    EntryKind kind = EntryKind::dictation;
    QString text;

    static HistoryEntry fromJson(const QJsonValue &value);
    bool operator==(const HistoryEntry &) const = default;
};
