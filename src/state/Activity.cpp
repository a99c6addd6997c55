#include "state/Activity.h"

QString activityDisplayText(Activity activity)
{
    switch (activity) {
    case Activity::recording:
        return QStringLiteral("Recording…");
    case Activity::transcribing:
        return QStringLiteral("Transcribing…");
    case Activity::idle:
        break;
    }
    return QStringLiteral("Idle");
}
