#include "platform/evdev/EvdevKeyboard.h"

#include <QPointer>
#include <QSocketNotifier>

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <utility>
#include <vector>

#include <linux/input.h>
#include <unistd.h>

namespace {

constexpr int recordSize = int(sizeof(input_event));

QList<int> sorted(const QSet<int> &codes)
{
    QList<int> list(codes.begin(), codes.end());
    std::sort(list.begin(), list.end());
    return list;
}

} // namespace

EvdevKeyboard::EvdevKeyboard(int fd, HeldKeys heldNow, QObject *parent)
    : QObject(parent), m_fd(fd), m_heldNow(std::move(heldNow)),
      m_notifier(std::make_unique<QSocketNotifier>(fd, QSocketNotifier::Read))
{
    connect(m_notifier.get(), &QSocketNotifier::activated, this, &EvdevKeyboard::readAvailable);
}

EvdevKeyboard::~EvdevKeyboard()
{
    m_notifier.reset();
    if (m_fd >= 0)
        ::close(m_fd);
}

QList<int> EvdevKeyboard::heldKeys() const
{
    return sorted(m_held);
}

void EvdevKeyboard::readAvailable()
{
    if (m_gone)
        return;
    char buffer[64 * recordSize];
    bool ended = false;
    for (;;) {
        const ssize_t count = ::read(m_fd, buffer, sizeof buffer);
        if (count > 0) {
            m_partial.append(buffer, qsizetype(count));
            if (count < ssize_t(sizeof buffer))
                break;
            continue;
        }
        if (count < 0 && errno == EINTR)
            continue;
        // End of file, or ENODEV once the device is unplugged.
        ended = count == 0 || (errno != EAGAIN && errno != EWOULDBLOCK);
        break;
    }
    // Whole records only: a pipe may hand a record over in pieces.
    const qsizetype whole = m_partial.size() - m_partial.size() % recordSize;
    std::vector<input_event> events(size_t(whole / recordSize));
    if (whole > 0) {
        std::memcpy(events.data(), m_partial.constData(), size_t(whole));
        m_partial.remove(0, whole);
    }
    for (const input_event &event : events) {
        if (!handle(event))
            return;
    }
    if (ended)
        goAway();
}

bool EvdevKeyboard::handle(const input_event &event)
{
    if (event.type == EV_SYN && event.code == SYN_DROPPED) {
        // What this frame said so far is incomplete; the resync settles it.
        m_frame.clear();
        m_dropping = true;
        return true;
    }
    if (event.type == EV_SYN && event.code == SYN_REPORT) {
        if (m_dropping) {
            m_dropping = false;
            return resync();
        }
        return applyFrame();
    }
    if (m_dropping || event.type != EV_KEY || event.value == 2)
        return true;
    m_frame.append({int(event.code), event.value != 0});
    return true;
}

bool EvdevKeyboard::applyFrame()
{
    const QList<QPair<int, bool>> frame = std::exchange(m_frame, {});
    for (const auto &[code, pressed] : frame) {
        if (m_held.contains(code) == pressed)
            continue;
        if (!report(code, pressed))
            return false;
    }
    return true;
}

bool EvdevKeyboard::resync()
{
    const QList<int> now = m_heldNow ? m_heldNow() : QList<int>{};
    const QSet<int> held(now.begin(), now.end());
    for (int code : sorted(m_held)) {
        if (!held.contains(code) && !report(code, false))
            return false;
    }
    for (int code : sorted(held)) {
        if (!m_held.contains(code) && !report(code, true))
            return false;
    }
    return true;
}

bool EvdevKeyboard::report(int code, bool pressed)
{
    if (pressed)
        m_held.insert(code);
    else
        m_held.remove(code);
    // A receiver may stop everything, this keyboard included.
    QPointer<EvdevKeyboard> alive(this);
    Q_EMIT keyChanged(code, pressed);
    return !alive.isNull();
}

void EvdevKeyboard::goAway()
{
    if (m_gone)
        return;
    m_gone = true;
    // Disabled rather than deleted: this runs inside the notifier's own signal.
    m_notifier->setEnabled(false);
    ::close(m_fd);
    m_fd = -1;
    m_frame.clear();
    m_partial.clear();
    for (int code : sorted(m_held)) {
        if (!report(code, false))
            return;
    }
    Q_EMIT gone();
}
