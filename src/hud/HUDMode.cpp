#include "hud/HUDMode.h"

QString HUDMode::toString() const
{
    switch (m_kind) {
    case Kind::recording:
        return QStringLiteral("recording(%1)").arg(captureModeName(m_mode));
    case Kind::processing:
        return QStringLiteral("processing(%1)").arg(captureModeName(m_mode));
    case Kind::response:
        return QStringLiteral("response(%1)").arg(m_text);
    case Kind::error:
        return QStringLiteral("error(%1)").arg(m_text);
    case Kind::hidden:
        break;
    }
    return QStringLiteral("hidden");
}
