#include "app/StoresAdapter.h"

#include "stores/AuthStore.h"
#include "stores/HistoryStore.h"
#include "stores/SettingsStore.h"

bool StoresAdapter::isSignedIn() const
{
    return m_auth.signedIn() && !m_auth.token().isEmpty();
}

void StoresAdapter::refreshTranscripts()
{
    m_history.refresh({HistoryScope::transcripts});
}

void StoresAdapter::refreshChat()
{
    m_history.refresh({HistoryScope::chat});
}

Settings StoresAdapter::current() const
{
    return m_settings.current();
}
