#pragma once

#include "platform/ScreenGrabber.h"

// Screenshots through the compositor's screencopy protocol, which grim speaks: silent, no
// consent dialog, the pointer drawn in by the compositor. wlroots desktops offer it. The
// picture is taken within the call, before anything of ours shown afterwards.
class GrimScreenGrabber : public ScreenGrabber
{
public:
    static constexpr const char *protocol = "zwlr_screencopy_manager_v1";
    static constexpr int timeoutMilliseconds = 3000;

    // `program`: the grim to run; empty for the one on PATH.
    explicit GrimScreenGrabber(QString program = {});

    static bool installed();
    void grab(QRect area, Done done) override;

private:
    QString m_program;
};
