#pragma once

#include "platform/CompositorProbe.h"

// A compositing manager on X11 announces itself by owning the _NET_WM_CM_S<screen> selection
// of the screen it composites. Asked afresh on every call: compositors come and go.
class X11CompositorProbe : public CompositorProbe
{
public:
    bool translucencyAvailable() const override;
};
