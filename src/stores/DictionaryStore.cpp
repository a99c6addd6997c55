#include "stores/DictionaryStore.h"

#include "backend/Backend.h"
#include "core/DescribedError.h"
#include "core/ProcessWide.h"
#include "core/Text.h"
#include "stores/RecordRoles.h"

#include <QCoreApplication>
#include <QPointer>

DictionaryStore &DictionaryStore::shared()
{
    return processWide<DictionaryStore>([] { return new DictionaryStore(Backend::shared()); });
}

DictionaryStore::DictionaryStore(Backend &backend, QObject *parent)
    : QObject(parent), m_backend(backend),
      m_model(new RecordListModel(RecordRoles::of<DictionaryTerm>(), this))
{}

void DictionaryStore::refresh()
{
    fetch();
}

QCoro::Task<void> DictionaryStore::fetch()
{
    QPointer<DictionaryStore> self(this);
    try {
        QList<DictionaryTerm> terms = co_await m_backend.dictionary();
        if (!self)
            co_return;
        setTerms(std::move(terms));
        setLoadError({});
    } catch (...) {
        if (self)
            setLoadError(DescribedError::describe(std::current_exception()));
    }
}

void DictionaryStore::add(QString term, std::optional<QString> heardAs)
{
    const QString trimmed = Text::trimmed(term);
    if (trimmed.isEmpty())
        return;
    create(trimmed, std::move(heardAs));
}

QCoro::Task<void> DictionaryStore::create(QString term, std::optional<QString> heardAs)
{
    QPointer<DictionaryStore> self(this);
    try {
        DictionaryTerm created = co_await m_backend.createDictionaryTerm(term, heardAs);
        if (!self)
            co_return;
        QList<DictionaryTerm> terms = m_terms;
        const auto same = std::find_if(terms.begin(), terms.end(),
                                       [&](const DictionaryTerm &t) { return t.id == created.id; });
        if (same != terms.end())
            *same = std::move(created);
        else
            terms.prepend(std::move(created));
        setTerms(std::move(terms));
        setLoadError({});
    } catch (...) {
        if (self)
            setLoadError(DescribedError::describe(std::current_exception()));
    }
}

void DictionaryStore::addTerm(const QString &term, const QString &heardAs)
{
    add(term, heardAs.trimmed().isEmpty() ? std::nullopt : std::optional<QString>(heardAs));
}

void DictionaryStore::remove(QString id)
{
    QList<DictionaryTerm> terms = m_terms;
    terms.removeIf([&](const DictionaryTerm &t) { return t.id == id; });
    setTerms(std::move(terms));
    m_backend.deleteDictionaryTerm(id);
}

void DictionaryStore::reset()
{
    setTerms({});
    setLoadError({});
}

void DictionaryStore::setTerms(QList<DictionaryTerm> terms)
{
    m_terms = std::move(terms);
    m_model->setRecords(m_terms);
}

void DictionaryStore::setLoadError(const QString &error)
{
    if (error == m_loadError)
        return;
    m_loadError = error;
    Q_EMIT loadErrorChanged();
}
