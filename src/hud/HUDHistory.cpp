#include "hud/HUDHistory.h"

#include "stores/HistoryStore.h"

#include <algorithm>

HUDHistory::HUDHistory(const HistoryStore &store, QObject *parent) : QObject(parent), m_store(store)
{
    connect(store.chatModel(), &QAbstractItemModel::modelReset, this, &HUDHistory::reload);
    reload();
}

QVariantList HUDHistory::pair(QList<HistoryEntry> entries)
{
    // The backend lists newest first; pairing needs the order they were said in. A question
    // and its answer are often stored within the same millisecond: reversing first keeps
    // such ties in the order they were written.
    std::reverse(entries.begin(), entries.end());
    std::stable_sort(entries.begin(), entries.end(),
                     [](const HistoryEntry &a, const HistoryEntry &b) { return a.date < b.date; });
    QVariantList pairs;
    QString question;
    bool pending = false;
    const auto flush = [&](const QString &answer) {
        pairs.prepend(QVariantMap{{QStringLiteral("question"), question},
                                  {QStringLiteral("answer"), answer}});
        question.clear();
        pending = false;
    };
    for (const HistoryEntry &entry : entries) {
        if (entry.kind == EntryKind::question) {
            if (pending)
                flush(QString());
            question = entry.text;
            pending = true;
        } else if (entry.kind == EntryKind::answer) {
            flush(entry.text);
        }
    }
    if (pending)
        flush(QString());
    return pairs;
}

void HUDHistory::reload()
{
    QVariantList interactions = pair(m_store.chatEntries());
    if (interactions == m_interactions)
        return;
    m_interactions = std::move(interactions);
    Q_EMIT interactionsChanged();
}
