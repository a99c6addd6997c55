#include "stores/HistoryStore.h"

#include "backend/Backend.h"
#include "core/Clock.h"
#include "core/DescribedError.h"
#include "core/ProcessWide.h"
#include "core/SystemClock.h"
#include "stores/RecordRoles.h"

#include <QCoreApplication>
#include <QPointer>

namespace {

constexpr std::array allScopes{HistoryScope::transcripts, HistoryScope::chat};

} // namespace

HistoryStore &HistoryStore::shared()
{
    return processWide<HistoryStore>([] {
        static const SystemClock clock;
        return new HistoryStore(Backend::shared(), clock);
    });
}

HistoryStore::HistoryStore(Backend &backend, const Clock &clock, QObject *parent)
    : QObject(parent), m_backend(backend), m_clock(clock)
{
    for (Scope &scope : m_scopes)
        scope.model = new RecordListModel(RecordRoles::of<HistoryEntry>(), this);
}

const QList<HistoryEntry> &HistoryStore::entries(HistoryScope scope) const
{
    return state(scope).entries;
}

void HistoryStore::setTranscriptEntries(QList<HistoryEntry> entries)
{
    setEntries(HistoryScope::transcripts, std::move(entries));
}

void HistoryStore::setChatEntries(QList<HistoryEntry> entries)
{
    setEntries(HistoryScope::chat, std::move(entries));
}

std::optional<double> HistoryStore::lastFetched(HistoryScope scope) const
{
    return state(scope).lastFetched;
}

bool HistoryStore::isFresh(HistoryScope scope) const
{
    // An empty list is never fresh: it may only mean the first fetch has not happened.
    const Scope &s = state(scope);
    return !s.entries.isEmpty() && s.lastFetched &&
           m_clock.now() - *s.lastFetched < minRefreshInterval;
}

void HistoryStore::refresh(QList<HistoryScope> scopes, bool force)
{
    QList<HistoryScope> selected;
    for (HistoryScope scope : std::as_const(scopes)) {
        if (!selected.contains(scope) && (force || !isFresh(scope)))
            selected.append(scope);
    }
    if (!selected.isEmpty())
        fetch(std::move(selected));
}

QCoro::Task<void> HistoryStore::fetch(QList<HistoryScope> scopes)
{
    QPointer<HistoryStore> self(this);
    QList<QList<HistoryEntry>> fetched;
    try {
        for (HistoryScope scope : std::as_const(scopes)) {
            QList<HistoryEntry> entries = co_await m_backend.history(historyScopeName(scope));
            fetched.append(std::move(entries));
            if (!self)
                co_return;
        }
    } catch (...) {
        if (self)
            setLoadError(DescribedError::describe(std::current_exception()));
        co_return;
    }
    const double now = m_clock.now();
    for (qsizetype i = 0; i < scopes.size(); ++i) {
        setEntries(scopes[i], std::move(fetched[i]));
        state(scopes[i]).lastFetched = now;
    }
    setLoadError({});
}

void HistoryStore::clear(std::optional<QString> scope)
{
    clearScope(std::move(scope));
}

QCoro::Task<void> HistoryStore::clearScope(std::optional<QString> scope)
{
    QPointer<HistoryStore> self(this);
    try {
        co_await m_backend.clearHistory(scope);
    } catch (...) {
        // The user asked for an empty history; it is emptied here even when the
        // backend could not do it.
    }
    if (!self)
        co_return;
    for (HistoryScope each : allScopes) {
        if (scope && *scope != historyScopeName(each))
            continue;
        setEntries(each, {});
        state(each).lastFetched.reset();
    }
}

void HistoryStore::reset()
{
    for (HistoryScope scope : allScopes) {
        setEntries(scope, {});
        state(scope).lastFetched.reset();
    }
    setLoadError({});
}

void HistoryStore::setEntries(HistoryScope scope, QList<HistoryEntry> entries)
{
    Scope &s = state(scope);
    s.entries = std::move(entries);
    s.model->setRecords(s.entries);
}

void HistoryStore::setLoadError(const QString &error)
{
    if (error == m_loadError)
        return;
    m_loadError = error;
    Q_EMIT loadErrorChanged();
}
