#include "ui/HistoryPageModel.h"

#include "stores/HistoryStore.h"
#include "ui/QmlStores.h"

HistoryPageModel::HistoryPageModel(QObject *parent)
    : QObject(parent), m_store(QmlStores::instance<HistoryStore>())
{
    connect(&m_store, &HistoryStore::loadErrorChanged, this, &HistoryPageModel::loadErrorChanged);
}

void HistoryPageModel::setScope(const QString &scope)
{
    if (m_scope == scope)
        return;
    m_scope = scope;
    Q_EMIT scopeChanged();
}

bool HistoryPageModel::isChat() const
{
    return m_scope == historyScopeName(HistoryScope::chat);
}

RecordListModel *HistoryPageModel::entries() const
{
    return isChat() ? m_store.chatModel() : m_store.transcriptModel();
}

QString HistoryPageModel::loadError() const
{
    return m_store.loadError();
}

void HistoryPageModel::refresh(bool force)
{
    m_store.refresh({isChat() ? HistoryScope::chat : HistoryScope::transcripts}, force);
}

void HistoryPageModel::clear()
{
    m_store.clear(historyScopeName(isChat() ? HistoryScope::chat : HistoryScope::transcripts));
}
