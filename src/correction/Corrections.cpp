#include "correction/Corrections.h"

#include "desktop/FloatingPanel.h"
#include "stores/DictionaryStore.h"

Corrections::Corrections(FocusedTextReader &reader, Clock &clock, Scheduler &scheduler,
                         DictionaryStore &dictionary, const Screens &screens,
                         const WindowSystem *windows, QObject *parent)
    : QObject(parent), m_watcher(reader, clock, scheduler), m_prompt(scheduler, screens, windows)
{
    connect(&m_watcher, &CorrectionWatcher::correctionFound, this,
            [this](const QString &heard, const QString &corrected) {
                m_prompt.show(heard, corrected);
                Q_EMIT correctionFound(heard, corrected);
            });
    connect(&m_prompt, &CorrectionPrompt::addRequested, &dictionary,
            [&dictionary](const QString &term, const std::optional<QString> &heardAs) {
                dictionary.add(term, heardAs);
            });
}

void Corrections::watch(const QString &pastedText)
{
    m_watcher.start(pastedText);
}

void Corrections::dismiss()
{
    m_watcher.stop();
    m_prompt.hide();
}

QWindow *Corrections::banner() const
{
    return m_prompt.panel();
}
