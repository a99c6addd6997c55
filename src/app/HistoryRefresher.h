#pragma once

// Asks the history store to reload a list when it is stale (never forced).
class HistoryRefresher
{
public:
    virtual ~HistoryRefresher() = default;
    virtual void refreshTranscripts() = 0;
    virtual void refreshChat() = 0;
};
