#pragma once

#include <QObject>
#include <QtQml/qqmlregistration.h>

class HistoryStore;
#include "stores/RecordListModel.h"

// One history page: the store's list for its scope ("transcripts" or "chat").
class HistoryPageModel : public QObject
{
    Q_OBJECT
    QML_ELEMENT
    Q_PROPERTY(QString scope READ scope WRITE setScope NOTIFY scopeChanged)
    Q_PROPERTY(RecordListModel *entries READ entries NOTIFY scopeChanged)
    Q_PROPERTY(QString loadError READ loadError NOTIFY loadErrorChanged)
public:
    explicit HistoryPageModel(QObject *parent = nullptr);

    const QString &scope() const { return m_scope; }
    void setScope(const QString &scope);
    RecordListModel *entries() const;
    QString loadError() const;

    // Fetches the scope unless it is fresh (or `force`).
    Q_INVOKABLE void refresh(bool force = false);
    // Empties the scope here and on the backend.
    Q_INVOKABLE void clear();

Q_SIGNALS:
    void scopeChanged();
    void loadErrorChanged();

private:
    bool isChat() const;

    HistoryStore &m_store;
    QString m_scope = QStringLiteral("transcripts");
};
