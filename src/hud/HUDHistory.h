#pragma once

#include "backend/HistoryEntry.h"

#include <QObject>
#include <QVariantList>
#include <QtQml/qqmlregistration.h>

class HistoryStore;

// The answer card's "Previous interactions": the chat history as question-and-answer pairs,
// newest first, following the history store.
class HUDHistory : public QObject
{
    Q_OBJECT
    QML_ELEMENT
    QML_UNCREATABLE("HUDHistory is made by the HUD")
    // [{question, answer}]; either text is empty when the other came without it.
    Q_PROPERTY(QVariantList interactions READ interactions NOTIFY interactionsChanged)
public:
    explicit HUDHistory(const HistoryStore &store, QObject *parent = nullptr);

    const QVariantList &interactions() const { return m_interactions; }

    // Pairs each question with the answer that follows it in time.
    static QVariantList pair(QList<HistoryEntry> entries);

Q_SIGNALS:
    void interactionsChanged();

private:
    void reload();

    const HistoryStore &m_store;
    QVariantList m_interactions;
};
