#include "backend/EntryKind.h"

QString entryKindName(EntryKind kind)
{
    switch (kind) {
    case EntryKind::dictation:
        return QStringLiteral("dictation");
    case EntryKind::question:
        return QStringLiteral("question");
    case EntryKind::answer:
        return QStringLiteral("answer");
    }
    return {};
}

std::optional<EntryKind> entryKindFromName(const QString &name)
{
    for (EntryKind kind : {EntryKind::dictation, EntryKind::question, EntryKind::answer}) {
        if (entryKindName(kind) == name)
            return kind;
    }
    return std::nullopt;
}
