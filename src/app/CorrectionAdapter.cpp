#include "app/CorrectionAdapter.h"

#include "correction/CorrectionWatcher.h"
#include "desktop/CorrectionPrompt.h"

void CorrectionAdapter::stopWatching()
{
    m_watcher.stop();
}

void CorrectionAdapter::hidePrompt()
{
    m_prompt.hide();
}

void CorrectionAdapter::startWatching(const QString &insertedText, CorrectionHandler onCorrection)
{
    m_watcher.onCorrection = std::move(onCorrection);
    m_watcher.start(insertedText);
}

void CorrectionAdapter::showPrompt(const QString &heard, const QString &corrected)
{
    m_prompt.show(heard, corrected);
}
