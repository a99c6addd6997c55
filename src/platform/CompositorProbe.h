#pragma once

// Whether the desktop blends windows that have an alpha channel with what lies below them.
// Without that, the transparent parts of such a window show up black, so panels draw an
// opaque shape instead.
class CompositorProbe
{
public:
    virtual ~CompositorProbe() = default;

    virtual bool translucencyAvailable() const = 0;
};
