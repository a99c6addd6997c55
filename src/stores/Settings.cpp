#include "stores/Settings.h"

const Shortcut &Settings::shortcut(CaptureMode mode) const
{
    switch (mode) {
    case CaptureMode::ask:
        return askKey;
    case CaptureMode::screen:
        return screenKey;
    case CaptureMode::paste:
        break;
    }
    return pushToTalkKey;
}
