#pragma once

#include "platform/KeyEventSource.h"
#include "platform/linux/FnKey.h"

#include <QHash>
#include <QObject>
#include <QStringList>

#include <memory>

class QSocketNotifier;
struct _XDisplay;

// Every key of the X session through XInput2 raw events on the root window, so
// modifier-only chords are seen without grabbing anything. Key combinations that are
// shortcuts are grabbed on the root (with the Lock and NumLock variants), synchronously: the
// focused application gets such a key only when the engine did not take it (while another
// shortcut is held, during hands-free dictation). The modifier bits come from the physical keys
// held; the fn bit is one key the user picks (default Right Ctrl), which can change while running.
class X11KeySource : public QObject, public KeyEventSource
{
    Q_OBJECT
public:
    // fnKey: an X keysym name, one of FnKey::choices(); later choices are followed.
    explicit X11KeySource(const QString &fnKey = FnKey::shared().key(), QObject *parent = nullptr);
    ~X11KeySource() override;

    // Another key acts as fn from now on; the grabs of combinations with fn follow it. Keys
    // held through the switch keep the meaning they had until they are released.
    void setFnKey(const QString &keysymName);

    // False without a display that has XInput 2.2 and XTEST.
    bool start(Handler handler) override;
    void stop() override;
    std::uint64_t currentModifierFlags() const override;
    void setSwallowedCombos(QList<Combo> combos) override;

private:
    void readEvents();
    void handleRawKey(int keycode, bool press, bool repeat);
    unsigned long baseKeysym(int keycode) const;
    std::uint64_t modifierBit(int keycode) const;
    unsigned fnModifierMask() const;
    void grabCombos();
    void ungrabCombos();

    unsigned long m_fnKeysym = 0;
    Handler m_handler;
    _XDisplay *m_display = nullptr;
    int m_xiOpcode = 0;
    int m_xkbEvent = -1;
    int m_group = 0; // the XKB group (layout) in use
    std::unique_ptr<QSocketNotifier> m_notifier;
    QHash<int, std::uint64_t> m_heldModifiers; // X keycode → its bit
    QList<Combo> m_combos;
    QList<QPair<int, unsigned>> m_grabbed; // X keycode, X modifier mask
    QHash<int, bool> m_taken;              // X keycode → the engine took its last press
};
