#pragma once

#include "core/TimerHandle.h"
#include "hotkeys/CaptureMode.h"
#include "hotkeys/Shortcut.h"
#include "platform/KeyEventSource.h"

#include <QObject>

#include <algorithm>
#include <functional>
#include <memory>
#include <optional>
#include <vector>

class Clock;
class Scheduler;

// Turns the session's key events into hold gestures of the three shortcuts and the
// hands-free double tap of fn. Modifier-only shortcuts that are a prefix of a longer
// one wait a short chord debounce and then look at the modifiers actually held.
// Its signals are emitted on a later event-loop turn, never inside a key event.
class HotkeyManager : public QObject
{
    Q_OBJECT
public:
    static constexpr double doubleTapWindow = 0.4;
    static constexpr double chordDebounce = 0.15;

    HotkeyManager(KeyEventSource &source, const Clock &clock, Scheduler &scheduler,
                  QObject *parent = nullptr);
    ~HotkeyManager() override;

    // New shortcuts count from the next event.
    void setShortcut(CaptureMode mode, const Shortcut &shortcut);
    const Shortcut &shortcut(CaptureMode mode) const;

    bool start();
    // Forgets every gesture without firing anything.
    void stop();
    bool isStarted() const { return m_started; }

    // The event entry point; true when the event belongs to a shortcut.
    bool handleEvent(const KeyEventSource::Event &event);

    std::optional<CaptureMode> engaged() const { return m_engaged; }
    bool handsFreeActive() const { return m_handsFreeActive; }

Q_SIGNALS:
    void holdStarted(CaptureMode mode);
    // The mode of the shortcut that was held; whatever is released ends the hold.
    void holdStopped(CaptureMode mode);
    // A double tap of fn, then the next tap.
    void handsFreeStarted();
    void handsFreeStopped();
    // Keys went down that the chord debounce may yet make a hold: recording can begin now,
    // so the first syllable is kept. Followed by holdStarted, or by captureDisarmed when the
    // chord came to nothing.
    void captureArmed();
    void captureDisarmed();

private:
    struct ModifierCandidate
    {
        CaptureMode mode;
        Shortcut::Flags mask;
    };
    struct ComboCandidate
    {
        CaptureMode mode;
        int keyCode;
        Shortcut::Flags mask;
    };

    std::vector<ModifierCandidate> modifierCandidates() const;
    std::vector<ComboCandidate> keyComboCandidates() const;
    bool anyShortcutUsesFn() const;

    bool handleKeyDown(int keyCode, Shortcut::Flags flags);
    bool handleKeyUp(int keyCode);
    void handleFlags(Shortcut::Flags raw);
    void handleFnDown();
    void debouncedEngage();
    void engage(CaptureMode mode, Shortcut::Flags mask, std::optional<int> keyCode);
    void disengage();
    void disarm();
    void fire(std::function<void(HotkeyManager &)> call);
    void updateSwallowedCombos();

    KeyEventSource &m_source;
    const Clock &m_clock;
    Scheduler &m_scheduler;
    Shortcut m_shortcuts[3];
    bool m_started = false;

    std::optional<CaptureMode> m_engaged;
    Shortcut::Flags m_engagedMask = 0;
    std::optional<int> m_engagedKeyCode;
    bool m_handsFreeActive = false;
    bool m_armed = false;
    bool m_prevFnDown = false;
    std::optional<double> m_lastFnDownTime;
    TimerHandle m_debounceWork;
    // Posted callbacks check it, so none runs after the manager is gone.
    std::shared_ptr<HotkeyManager *> m_self;
};
