#include "platform/linux/X11SyntheticKeys.h"

#include "core/ProcessWide.h"

namespace {

// Events nobody read (no key source was listening) must not pile up.
constexpr qsizetype maxExpected = 64;

} // namespace

X11SyntheticKeys &X11SyntheticKeys::shared()
{
    return processWide<X11SyntheticKeys>([] { return new X11SyntheticKeys; });
}

void X11SyntheticKeys::expect(int keycode, bool press)
{
    if (m_expected.size() >= maxExpected)
        m_expected.removeFirst();
    m_expected.append({keycode, press});
}

bool X11SyntheticKeys::take(int keycode, bool press)
{
    return m_expected.removeOne(qMakePair(keycode, press));
}
