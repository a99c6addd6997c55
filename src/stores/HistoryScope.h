#pragma once

#include <QString>

// The two histories the backend keeps apart.
enum class HistoryScope { transcripts, chat };

// The name the backend uses in "?scope=".
QString historyScopeName(HistoryScope scope);
