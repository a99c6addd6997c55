#pragma once

#include "platform/KeyEventSource.h"
#include "platform/linux/FnKey.h"

#include <QHash>
#include <QObject>
#include <QPair>
#include <QString>

#include <functional>
#include <memory>

class EvdevKeyboard;
class QFileSystemWatcher;

// Every keyboard of the session read from the kernel's evdev nodes, for desktops where the
// display server shows us no other application's keys (Wayland). Readable by members of the
// `input` group. Devices are only read, never grabbed: every key, a shortcut's included,
// still reaches the focused application, so the swallowed combos are only kept. Keyboards
// plugged in later are read from when their node appears. Events mirror X11KeySource's: the
// modifier bits come from the keys held on any keyboard; the fn bit is one key the user
// picks (default Right Ctrl), which can change while running. Keys are named by their place
// on a US keyboard, whatever layout the compositor applies.
class EvdevKeySource : public QObject, public KeyEventSource
{
    Q_OBJECT
public:
    enum class Problem { none, noKeyboards, permissionDenied };

    // What a device node is, asked of the kernel; tests give their own for pipes.
    struct Probe
    {
        // True for a keyboard: keys with letters on them.
        std::function<bool(int fd)> isKeyboard;
        // Evdev codes of the keys it holds down now.
        std::function<QList<int>(int fd)> heldKeys;
    };
    static Probe kernelProbe();

    // fnKey: an X keysym name, one of FnKey::choices(); later choices are followed.
    // deviceDirectory: where the `event*` nodes appear.
    explicit EvdevKeySource(const QString &fnKey = FnKey::shared().key(),
                            const QString &deviceDirectory = QStringLiteral("/dev/input"),
                            Probe probe = kernelProbe(), QObject *parent = nullptr);
    ~EvdevKeySource() override;

    // Another key acts as fn from now on. Keys held through the switch keep the meaning they
    // had until they are released.
    void setFnKey(const QString &keysymName);

    // False when no keyboard can be read; problem() and lastProblem() say why.
    bool start(Handler handler) override;
    void stop() override;
    std::uint64_t currentModifierFlags() const override;
    // Kept, not applied: nothing is grabbed, so these keys reach the application too.
    void setSwallowedCombos(QList<Combo> combos) override;
    const QList<Combo> &swallowedCombos() const { return m_combos; }

    Problem problem() const { return m_problem; }
    // For the user, with what to do about it; empty while keyboards are read.
    QString lastProblem() const;
    // The nodes of the keyboards being read, sorted.
    QStringList keyboards() const;

Q_SIGNALS:
    // A keyboard was plugged in or went away.
    void keyboardsChanged();

private:
    enum class Opened { keyboard, other, denied };

    void scan();
    Opened open(const QString &path);
    void handleKey(int device, int evdevCode, bool pressed);
    void removeKeyboard(const QString &path);

    unsigned long m_fnKeysym = 0;
    QString m_directory;
    Probe m_probe;
    Handler m_handler;
    bool m_started = false;
    Problem m_problem = Problem::none;
    std::unique_ptr<QFileSystemWatcher> m_watcher;
    QHash<QString, EvdevKeyboard *> m_keyboards; // node → its reader, a child
    QHash<QString, quint64> m_notKeyboards;      // node → inode, so a mouse is probed once
    int m_nextDeviceId = 0;
    QHash<QPair<int, int>, std::uint64_t> m_heldModifiers; // (device, evdev code) → its bit
    QList<Combo> m_combos;
};
