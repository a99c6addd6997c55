#pragma once

#include "app/HistoryRefresher.h"
#include "app/SettingsSource.h"
#include "app/SignInState.h"

class AuthStore;
class HistoryStore;
class SettingsStore;

// The stores a capture session reads and refreshes.
class StoresAdapter : public SignInState, public HistoryRefresher, public SettingsSource
{
public:
    StoresAdapter(AuthStore &auth, HistoryStore &history, SettingsStore &settings)
        : m_auth(auth), m_history(history), m_settings(settings)
    {}

    bool isSignedIn() const override;
    void refreshTranscripts() override;
    void refreshChat() override;
    Settings current() const override;

private:
    AuthStore &m_auth;
    HistoryStore &m_history;
    SettingsStore &m_settings;
};
