#pragma once

// Asks the history store to reload a list that just changed on the backend.
class HistoryRefresher
{
public:
    virtual ~HistoryRefresher() = default;
    virtual void refreshTranscripts() = 0;
    virtual void refreshChat() = 0;
};
