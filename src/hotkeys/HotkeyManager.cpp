#include "hotkeys/HotkeyManager.h"

#include "core/Clock.h"
#include "core/Scheduler.h"

namespace {

// Longest default chord first: the first match wins.
constexpr CaptureMode candidateOrder[] = {CaptureMode::screen, CaptureMode::ask,
                                          CaptureMode::paste};

int slot(CaptureMode mode)
{
    return static_cast<int>(mode);
}

} // namespace

HotkeyManager::HotkeyManager(KeyEventSource &source, const Clock &clock, Scheduler &scheduler,
                             QObject *parent)
    : QObject(parent), m_source(source), m_clock(clock), m_scheduler(scheduler),
      m_self(std::make_shared<HotkeyManager *>(this))
{
    for (CaptureMode mode : allCaptureModes)
        m_shortcuts[slot(mode)] = defaultShortcut(mode);
}

HotkeyManager::~HotkeyManager()
{
    *m_self = nullptr;
    if (m_started)
        m_source.stop();
}

void HotkeyManager::setShortcut(CaptureMode mode, const Shortcut &shortcut)
{
    m_shortcuts[slot(mode)] = shortcut;
    updateSwallowedCombos();
}

const Shortcut &HotkeyManager::shortcut(CaptureMode mode) const
{
    return m_shortcuts[slot(mode)];
}

void HotkeyManager::updateSwallowedCombos()
{
    QList<KeyEventSource::Combo> combos;
    for (const ComboCandidate &candidate : keyComboCandidates())
        combos.append({candidate.keyCode, candidate.mask});
    m_source.setSwallowedCombos(combos);
}

std::vector<HotkeyManager::ModifierCandidate> HotkeyManager::modifierCandidates() const
{
    std::vector<ModifierCandidate> candidates;
    for (CaptureMode mode : candidateOrder) {
        const Shortcut &shortcut = m_shortcuts[slot(mode)];
        const Shortcut::Flags mask = shortcut.modifiers & Shortcut::relevantMask;
        if (shortcut.isModifierOnly() && mask != 0)
            candidates.push_back({mode, mask});
    }
    return candidates;
}

std::vector<HotkeyManager::ComboCandidate> HotkeyManager::keyComboCandidates() const
{
    std::vector<ComboCandidate> candidates;
    for (CaptureMode mode : candidateOrder) {
        const Shortcut &shortcut = m_shortcuts[slot(mode)];
        if (shortcut.keyCode)
            candidates.push_back(
                {mode, *shortcut.keyCode, shortcut.modifiers & Shortcut::relevantMask});
    }
    return candidates;
}

bool HotkeyManager::anyShortcutUsesFn() const
{
    for (const Shortcut &shortcut : m_shortcuts) {
        if (shortcut.modifiers & Shortcut::fn)
            return true;
    }
    return false;
}

bool HotkeyManager::start()
{
    if (m_started)
        return true;
    updateSwallowedCombos();
    m_started =
        m_source.start([this](const KeyEventSource::Event &event) { return handleEvent(event); });
    return m_started;
}

void HotkeyManager::stop()
{
    if (m_started)
        m_source.stop();
    m_started = false;
    m_engaged.reset();
    m_engagedMask = 0;
    m_engagedKeyCode.reset();
    m_handsFreeActive = false;
    m_armed = false;
    m_prevFnDown = false;
    m_lastFnDownTime.reset();
    m_debounceWork.cancel();
}

bool HotkeyManager::handleEvent(const KeyEventSource::Event &event)
{
    switch (event.type) {
    case KeyEventSource::Type::keyDown:
        return handleKeyDown(event.keyCode, event.flags);
    case KeyEventSource::Type::keyUp:
        return handleKeyUp(event.keyCode);
    case KeyEventSource::Type::flagsChanged:
        handleFlags(event.flags);
        return false; // modifier changes always reach the application
    }
    return false;
}

void HotkeyManager::fire(std::function<void(HotkeyManager &)> call)
{
    std::weak_ptr<HotkeyManager *> self = m_self;
    m_scheduler.post([self, call = std::move(call)] {
        if (auto alive = self.lock(); alive && *alive)
            call(**alive);
    });
}

void HotkeyManager::engage(CaptureMode mode, Shortcut::Flags mask, std::optional<int> keyCode)
{
    m_armed = false; // the hold takes over what the arming began
    m_engaged = mode;
    m_engagedMask = mask;
    m_engagedKeyCode = keyCode;
    fire([mode](HotkeyManager &manager) { Q_EMIT manager.holdStarted(mode); });
}

void HotkeyManager::disarm()
{
    if (!m_armed)
        return;
    m_armed = false;
    fire([](HotkeyManager &manager) { Q_EMIT manager.captureDisarmed(); });
}

void HotkeyManager::disengage()
{
    const CaptureMode mode = *m_engaged;
    m_engaged.reset();
    m_engagedMask = 0;
    m_engagedKeyCode.reset();
    fire([mode](HotkeyManager &manager) { Q_EMIT manager.holdStopped(mode); });
}

bool HotkeyManager::handleKeyDown(int keyCode, Shortcut::Flags flags)
{
    // While held, only the engaged key (its auto-repeat) is ours.
    if (m_engaged)
        return m_engagedKeyCode == keyCode;
    if (m_handsFreeActive)
        return false;
    const Shortcut::Flags held = flags & Shortcut::relevantMask;
    for (const ComboCandidate &candidate : keyComboCandidates()) {
        if (candidate.keyCode == keyCode && candidate.mask == held) {
            // A pending chord stays scheduled: if this key is let go first, the modifiers
            // still held when it fires decide.
            engage(candidate.mode, held, keyCode);
            return true;
        }
    }
    return false;
}

bool HotkeyManager::handleKeyUp(int keyCode)
{
    if (m_engaged && m_engagedKeyCode == keyCode) {
        disengage();
        return true;
    }
    return false;
}

void HotkeyManager::handleFlags(Shortcut::Flags raw)
{
    const bool fnDown = raw & Shortcut::fn;
    if (!anyShortcutUsesFn() && fnDown && !m_prevFnDown)
        handleFnDown();
    const Shortcut::Flags current = raw & Shortcut::relevantMask;
    m_prevFnDown = fnDown;

    if (m_engaged) {
        // Releasing any modifier it engaged with ends it, even before a combo's key.
        if (m_engagedMask & ~current)
            disengage();
        return;
    }
    if (m_handsFreeActive)
        return;

    const auto candidates = modifierCandidates();
    const auto match = std::find_if(candidates.begin(), candidates.end(),
                                    [current](const auto &c) { return c.mask == current; });
    if (match == candidates.end())
        return; // a pending debounce still decides on what is held when it fires
    const bool longerChordPossible =
        std::any_of(candidates.begin(), candidates.end(), [&](const ModifierCandidate &c) {
            return c.mode != match->mode && c.mask != current && (c.mask & current) == current;
        });
    if (longerChordPossible) {
        m_debounceWork = m_scheduler.schedule(chordDebounce, [this] { debouncedEngage(); });
        if (!m_armed) {
            m_armed = true;
            fire([](HotkeyManager &manager) { Q_EMIT manager.captureArmed(); });
        }
        return;
    }
    m_debounceWork.cancel();
    engage(match->mode, current, std::nullopt);
}

void HotkeyManager::debouncedEngage()
{
    if (m_engaged || m_handsFreeActive) {
        disarm();
        return;
    }
    // Whatever is held after the wait decides, not the event that scheduled it.
    const Shortcut::Flags live = m_source.currentModifierFlags() & Shortcut::relevantMask;
    for (const ModifierCandidate &candidate : modifierCandidates()) {
        if (candidate.mask == live) {
            engage(candidate.mode, live, std::nullopt);
            return;
        }
    }
    disarm();
}

void HotkeyManager::handleFnDown()
{
    if (m_handsFreeActive) {
        m_handsFreeActive = false;
        m_lastFnDownTime.reset();
        fire([](HotkeyManager &manager) { Q_EMIT manager.handsFreeStopped(); });
        return;
    }
    const double now = m_clock.now();
    if (m_lastFnDownTime && now - *m_lastFnDownTime < doubleTapWindow) {
        m_lastFnDownTime.reset();
        m_handsFreeActive = true;
        fire([](HotkeyManager &manager) { Q_EMIT manager.handsFreeStarted(); });
    } else {
        m_lastFnDownTime = now;
    }
}
