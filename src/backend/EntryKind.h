#pragma once

#include <QString>

#include <optional>

enum class EntryKind { dictation, question, answer };

QString entryKindName(EntryKind kind);
std::optional<EntryKind> entryKindFromName(const QString &name);
