#pragma once

#include "app/CorrectionHooks.h"

class CorrectionPrompt;
class CorrectionWatcher;

// The correction watcher and its "Add to dictionary?" prompt, as a dictation uses them.
class CorrectionAdapter : public CorrectionHooks
{
public:
    CorrectionAdapter(CorrectionWatcher &watcher, CorrectionPrompt &prompt)
        : m_watcher(watcher), m_prompt(prompt)
    {}

    void stopWatching() override;
    void hidePrompt() override;
    void startWatching(const QString &insertedText, CorrectionHandler onCorrection) override;
    void showPrompt(const QString &heard, const QString &corrected) override;

private:
    CorrectionWatcher &m_watcher;
    CorrectionPrompt &m_prompt;
};
