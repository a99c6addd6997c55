#pragma once

#include <QString>

#include <functional>

// The correction watcher and its prompt, as a dictation session uses them.
class CorrectionHooks
{
public:
    using CorrectionHandler = std::function<void(const QString &heard, const QString &corrected)>;

    virtual ~CorrectionHooks() = default;
    virtual void stopWatching() = 0;
    virtual void hidePrompt() = 0;
    // Watches the focused field for edits of the just inserted text.
    virtual void startWatching(const QString &insertedText, CorrectionHandler onCorrection) = 0;
    virtual void showPrompt(const QString &heard, const QString &corrected) = 0;
};
