#include "app/StoresAdapter.h"

#include "stores/AuthStore.h"
#include "stores/HistoryStore.h"
#include "stores/SettingsStore.h"

bool StoresAdapter::isSignedIn() const
{
    return m_auth.signedIn() && !m_auth.token().isEmpty();
}

// Called right after the backend's list gained an entry: the cached copy is out of date
// whatever its age, so a second dictation within the refresh interval still shows up.
void StoresAdapter::refreshTranscripts()
{
    m_history.refresh({HistoryScope::transcripts}, true);
}

void StoresAdapter::refreshChat()
{
    m_history.refresh({HistoryScope::chat}, true);
}

Settings StoresAdapter::current() const
{
    return m_settings.current();
}
