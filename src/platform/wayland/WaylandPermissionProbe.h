#pragma once

#include "platform/PermissionProbe.h"

// Permissions as a Wayland session grants them: keys are "trusted" when some rung sees the
// shortcuts, the screen when some rung takes screenshots; the microphone as the X probe says.
class WaylandPermissionProbe : public PermissionProbe
{
public:
    WaylandPermissionProbe(PermissionProbe &base, bool keysSeen, bool screenshots)
        : m_base(base), m_keysSeen(keysSeen), m_screenshots(screenshots)
    {}
    MicrophoneAuthorization microphoneAuthorization() override
    {
        return m_base.microphoneAuthorization();
    }
    bool accessibilityTrusted() override { return m_keysSeen; }
    bool screenRecordingTrusted() override { return m_screenshots; }

private:
    PermissionProbe &m_base;
    bool m_keysSeen;
    bool m_screenshots;
};
