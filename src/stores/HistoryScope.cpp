#include "stores/HistoryScope.h"

QString historyScopeName(HistoryScope scope)
{
    switch (scope) {
    case HistoryScope::transcripts:
        return QStringLiteral("transcripts");
    case HistoryScope::chat:
        return QStringLiteral("chat");
    }
    return {};
}
