#pragma once

#include <functional>

// The desktop's light or dark preference.
class ColorSchemeSource
{
public:
    enum class Scheme { noPreference, dark, light };
    using Handler = std::function<void(Scheme)>;

    virtual ~ColorSchemeSource() = default;
    virtual Scheme current() const = 0;
    // `handler` hears every later change, on the main thread.
    virtual void subscribe(Handler handler) = 0;
};
