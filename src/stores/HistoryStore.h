#pragma once

#include "backend/HistoryEntry.h"
#include "stores/HistoryScope.h"
#include "stores/RecordListModel.h"
#include "stores/UserDataCache.h"

#include <QCoro/QCoroTask>
#include <QObject>

#include <array>
#include <optional>

class Backend;
class Clock;

// The transcript and chat histories, each fetched no more often than every
// minRefreshInterval unless forced.
class HistoryStore : public QObject, public UserDataCache
{
    Q_OBJECT
    Q_PROPERTY(RecordListModel *transcriptEntries READ transcriptModel CONSTANT)
    Q_PROPERTY(RecordListModel *chatEntries READ chatModel CONSTANT)
    Q_PROPERTY(QString loadError READ loadError NOTIFY loadErrorChanged)
public:
    static constexpr double minRefreshInterval = 20.0; // seconds

    static HistoryStore &shared();
    HistoryStore(Backend &backend, const Clock &clock, QObject *parent = nullptr);

    const QList<HistoryEntry> &transcriptEntries() const
    {
        return entries(HistoryScope::transcripts);
    }
    const QList<HistoryEntry> &chatEntries() const { return entries(HistoryScope::chat); }
    const QList<HistoryEntry> &entries(HistoryScope scope) const;
    void setTranscriptEntries(QList<HistoryEntry> entries);
    void setChatEntries(QList<HistoryEntry> entries);
    RecordListModel *transcriptModel() const { return model(HistoryScope::transcripts); }
    RecordListModel *chatModel() const { return model(HistoryScope::chat); }
    // The last failure; empty when there is none.
    const QString &loadError() const { return m_loadError; }
    // Clock seconds of the last successful fetch of the scope.
    std::optional<double> lastFetched(HistoryScope scope) const;

    // Returns at once. The scopes are fetched in order and applied together: one
    // failure leaves every list as it was.
    void refresh(QList<HistoryScope> scopes, bool force = false);
    // Returns at once. The lists are emptied whether or not the backend could clear
    // them; without a scope both are.
    void clear(std::optional<QString> scope);

    void reset() override;

Q_SIGNALS:
    void loadErrorChanged();

private:
    struct Scope
    {
        QList<HistoryEntry> entries;
        RecordListModel *model = nullptr;
        std::optional<double> lastFetched;
    };

    Scope &state(HistoryScope scope) { return m_scopes[size_t(scope)]; }
    const Scope &state(HistoryScope scope) const { return m_scopes[size_t(scope)]; }
    RecordListModel *model(HistoryScope scope) const { return state(scope).model; }
    bool isFresh(HistoryScope scope) const;
    void setEntries(HistoryScope scope, QList<HistoryEntry> entries);
    void setLoadError(const QString &error);
    QCoro::Task<void> fetch(QList<HistoryScope> scopes);
    QCoro::Task<void> clearScope(std::optional<QString> scope);

    Backend &m_backend;
    const Clock &m_clock;
    std::array<Scope, 2> m_scopes;
    QString m_loadError;
};
