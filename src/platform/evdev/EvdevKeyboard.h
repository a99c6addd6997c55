#pragma once

#include <QByteArray>
#include <QList>
#include <QObject>
#include <QPair>
#include <QSet>

#include <functional>
#include <memory>

class QSocketNotifier;
struct input_event;

// The key events of one evdev device, read without grabbing it: the focused application
// gets every key as well. Events are taken a frame (up to SYN_REPORT) at a time; autorepeat
// and anything but keys are left out. When the kernel drops events (its buffer overflowed)
// the keys held are asked for again, so no key stays held because its release was lost.
class EvdevKeyboard : public QObject
{
    Q_OBJECT
public:
    // Evdev codes of the keys the device holds down now (EVIOCGKEY on a device).
    using HeldKeys = std::function<QList<int>()>;

    // Reads fd, which must be non-blocking, and closes it when gone or destroyed.
    EvdevKeyboard(int fd, HeldKeys heldNow, QObject *parent = nullptr);
    ~EvdevKeyboard() override;
    EvdevKeyboard(const EvdevKeyboard &) = delete;
    EvdevKeyboard &operator=(const EvdevKeyboard &) = delete;

    // Evdev codes, in ascending order.
    QList<int> heldKeys() const;
    bool isGone() const { return m_gone; }

Q_SIGNALS:
    // A key went down or up; never a repeat, nor a release of a key not seen pressed.
    void keyChanged(int code, bool pressed);
    // Once, after releases of every key held: the device was unplugged or cannot be read.
    void gone();

private:
    void readAvailable();
    // False when a receiver destroyed this keyboard.
    bool handle(const input_event &event);
    bool applyFrame();
    bool resync();
    bool report(int code, bool pressed);
    void goAway();

    int m_fd = -1;
    HeldKeys m_heldNow;
    std::unique_ptr<QSocketNotifier> m_notifier;
    QByteArray m_partial;            // the start of a record still being written
    QList<QPair<int, bool>> m_frame; // key changes since the last SYN_REPORT
    QSet<int> m_held;
    bool m_dropping = false; // after SYN_DROPPED, until the next SYN_REPORT
    bool m_gone = false;
};
