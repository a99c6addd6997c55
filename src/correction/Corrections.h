#pragma once

#include "correction/CorrectionPrompt.h"
#include "correction/CorrectionWatcher.h"

#include <QObject>

class DictionaryStore;
class QWindow;

// The correction feature as a dictation uses it: after a paste the watcher looks for the
// user's fix of a dictated word, the banner offers it, and "Add" puts the corrected words
// in the dictionary with the heard ones as their variant.
class Corrections : public QObject
{
    Q_OBJECT
public:
    Corrections(FocusedTextReader &reader, Clock &clock, Scheduler &scheduler,
                DictionaryStore &dictionary, const Screens &screens, const WindowSystem *windows,
                QObject *parent = nullptr);

    // Watches the focused field for a fix of `pastedText`.
    void watch(const QString &pastedText);
    // A new capture begins: no more watching, and the banner goes.
    void dismiss();
    // The banner's window once it was shown, for screenshots to leave out.
    QWindow *banner() const;

    CorrectionWatcher &watcher() { return m_watcher; }
    CorrectionPrompt &prompt() { return m_prompt; }

Q_SIGNALS:
    // A fix was found and is being offered.
    void correctionFound(const QString &heard, const QString &corrected);

private:
    CorrectionWatcher m_watcher;
    CorrectionPrompt m_prompt;
};
