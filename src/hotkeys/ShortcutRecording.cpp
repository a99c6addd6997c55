#include "hotkeys/ShortcutRecording.h"

#include "core/ProcessWide.h"

ShortcutRecording &ShortcutRecording::shared()
{
    return processWide<ShortcutRecording>([] { return new ShortcutRecording; });
}

void ShortcutRecording::setActive(bool active)
{
    if (active == m_active)
        return;
    m_active = active;
    Q_EMIT activeChanged(active);
}
