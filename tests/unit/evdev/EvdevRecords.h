#pragma once

// input_event records through pipes and FIFOs, as a device node hands them over.

#include <QByteArray>
#include <QList>

#include <cstring>
#include <linux/capability.h>
#include <linux/input.h>
#include <sys/ioctl.h>
#include <sys/syscall.h>
#include <unistd.h>

inline QByteArray record(int type, int code, int value)
{
    input_event event{};
    event.type = quint16(type);
    event.code = quint16(code);
    event.value = value;
    return QByteArray(reinterpret_cast<const char *>(&event), sizeof event);
}

inline QByteArray synReport()
{
    return record(EV_SYN, SYN_REPORT, 0);
}

// A key change in a frame of its own, as keyboards send it.
inline QByteArray keyFrame(int code, int value)
{
    return record(EV_KEY, code, value) + synReport();
}

inline bool writeAll(int fd, const QByteArray &bytes)
{
    return ::write(fd, bytes.constData(), size_t(bytes.size())) == bytes.size();
}

inline int unreadBytes(int fd)
{
    int count = -1;
    ::ioctl(fd, FIONREAD, &count);
    return count;
}

// Root opens any file whatever its mode; while this lives the process cannot, so a node
// with mode 000 is refused as it is to a user outside the input group.
class WithoutFileOverride
{
public:
    WithoutFileOverride()
    {
        m_ok = ::syscall(SYS_capget, &m_header, m_saved) == 0;
        std::memcpy(m_reduced, m_saved, sizeof m_saved);
        m_reduced[0].effective &= ~((1u << CAP_DAC_OVERRIDE) | (1u << CAP_DAC_READ_SEARCH));
        m_ok = m_ok && ::syscall(SYS_capset, &m_header, m_reduced) == 0;
    }
    ~WithoutFileOverride()
    {
        if (m_ok)
            ::syscall(SYS_capset, &m_header, m_saved);
    }
    WithoutFileOverride(const WithoutFileOverride &) = delete;
    WithoutFileOverride &operator=(const WithoutFileOverride &) = delete;

private:
    __user_cap_header_struct m_header{_LINUX_CAPABILITY_VERSION_3, 0};
    __user_cap_data_struct m_saved[2] = {};
    __user_cap_data_struct m_reduced[2] = {};
    bool m_ok = false;
};
