#pragma once

#include "backend/DictionaryTerm.h"
#include "stores/RecordListModel.h"
#include "stores/UserDataCache.h"

#include <QCoro/QCoroTask>
#include <QObject>

#include <optional>

class Backend;

// The user's custom vocabulary as the backend keeps it.
class DictionaryStore : public QObject, public UserDataCache
{
    Q_OBJECT
    Q_PROPERTY(RecordListModel *terms READ termsModel CONSTANT)
    Q_PROPERTY(QString loadError READ loadError NOTIFY loadErrorChanged)
public:
    static DictionaryStore &shared();
    explicit DictionaryStore(Backend &backend, QObject *parent = nullptr);

    const QList<DictionaryTerm> &terms() const { return m_terms; }
    RecordListModel *termsModel() const { return m_model; }
    // The last failure; empty when there is none.
    const QString &loadError() const { return m_loadError; }

    // Each of these returns at once; the outcome shows in terms and loadError.
    Q_INVOKABLE void refresh();
    // A blank term is ignored. The backend answers with the whole record, which
    // replaces the one with its id or else goes first.
    void add(QString term, std::optional<QString> heardAs);
    // For views: an empty `heardAs` is none.
    Q_INVOKABLE void addTerm(const QString &term, const QString &heardAs = {});
    // Gone locally at once; the backend's answer is not waited for.
    Q_INVOKABLE void remove(QString id);

    void reset() override;

Q_SIGNALS:
    void loadErrorChanged();

private:
    QCoro::Task<void> fetch();
    QCoro::Task<void> create(QString term, std::optional<QString> heardAs);
    void setTerms(QList<DictionaryTerm> terms);
    void setLoadError(const QString &error);

    Backend &m_backend;
    QList<DictionaryTerm> m_terms;
    RecordListModel *m_model;
    QString m_loadError;
};
