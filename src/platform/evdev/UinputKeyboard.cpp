#include "platform/evdev/UinputKeyboard.h"

#include <QCoreApplication>
#include <QFile>

#include <cerrno>
#include <cstring>
#include <fcntl.h>
#include <libevdev/libevdev-uinput.h>
#include <libevdev/libevdev.h>
#include <linux/input.h>
#include <unistd.h>
#include <vector>

namespace {

QString tr(const char *text)
{
    return QCoreApplication::translate("UinputKeyboard", text);
}

UinputKeyboard::Creation failure(UinputKeyboard::Problem problem, const QString &message)
{
    return {nullptr, problem, message};
}

} // namespace

QString UinputKeyboard::deviceName()
{
    return QStringLiteral("Ovrin virtual keyboard");
}

UinputKeyboard::Creation UinputKeyboard::create(IsTerminal isTerminal, const QString &uinputPath)
{
    const int fd = ::open(QFile::encodeName(uinputPath).constData(), O_RDWR | O_CLOEXEC);
    if (fd < 0) {
        const int error = errno;
        if (error == ENOENT || error == ENODEV || error == ENXIO)
            return failure(Problem::noDevice,
                           tr("no %1: the kernel's uinput module is not loaded; load it with "
                              "`sudo modprobe uinput` and list it in /etc/modules-load.d/ to "
                              "have it at every boot")
                               .arg(uinputPath));
        if (error == EACCES || error == EPERM)
            return failure(
                Problem::permissionDenied,
                tr("permission denied on %1: it needs a udev rule that lets the input group "
                   "write it, such as `KERNEL==\"uinput\", GROUP=\"input\", MODE=\"0660\", "
                   "OPTIONS+=\"static_node=uinput\"` in /etc/udev/rules.d/60-uinput.rules, and "
                   "you in that group: `sudo usermod -aG input $USER`, then log in again")
                    .arg(uinputPath));
        return failure(
            Problem::failed,
            tr("cannot open %1: %2").arg(uinputPath, QString::fromLocal8Bit(std::strerror(error))));
    }

    libevdev *description = libevdev_new();
    libevdev_set_name(description, deviceName().toUtf8().constData());
    libevdev_set_id_bustype(description, BUS_VIRTUAL);
    libevdev_enable_event_type(description, EV_KEY);
    for (unsigned code : {KEY_LEFTCTRL, KEY_LEFTSHIFT, KEY_V, KEY_C})
        libevdev_enable_event_code(description, EV_KEY, code, nullptr);
    libevdev_uinput *device = nullptr;
    const int result = libevdev_uinput_create_from_device(description, fd, &device);
    libevdev_free(description);
    if (result < 0) {
        ::close(fd);
        return failure(Problem::failed,
                       tr("cannot make a virtual keyboard through %1: %2")
                           .arg(uinputPath, QString::fromLocal8Bit(std::strerror(-result))));
    }
    std::unique_ptr<UinputKeyboard> keyboard(
        new UinputKeyboard(libevdev_uinput_get_fd(device), std::move(isTerminal)));
    keyboard->m_device = device;
    keyboard->m_uinputFd = fd;
    return {std::move(keyboard), Problem::none, {}};
}

UinputKeyboard::UinputKeyboard(int fd, IsTerminal isTerminal)
    : m_fd(fd), m_isTerminal(std::move(isTerminal))
{}

UinputKeyboard::~UinputKeyboard()
{
    if (m_device)
        libevdev_uinput_destroy(m_device);
    if (m_uinputFd >= 0)
        ::close(m_uinputFd);
}

bool UinputKeyboard::send(Command command)
{
    const bool terminal = m_isTerminal && m_isTerminal();
    const unsigned short key = command == Command::paste ? KEY_V : KEY_C;
    std::vector<input_event> records;
    // Each change its own frame, as a real keyboard reports them.
    const auto step = [&records](unsigned short code, int value) {
        input_event event{};
        event.type = EV_KEY;
        event.code = code;
        event.value = value;
        records.push_back(event);
        event.type = EV_SYN;
        event.code = SYN_REPORT;
        event.value = 0;
        records.push_back(event);
    };
    step(KEY_LEFTCTRL, 1);
    if (terminal)
        step(KEY_LEFTSHIFT, 1);
    step(key, 1);
    step(key, 0);
    if (terminal)
        step(KEY_LEFTSHIFT, 0);
    step(KEY_LEFTCTRL, 0);

    const char *data = reinterpret_cast<const char *>(records.data());
    size_t left = records.size() * sizeof(input_event);
    while (left > 0) {
        const ssize_t written = ::write(m_fd, data, left);
        if (written < 0 && errno == EINTR)
            continue;
        if (written <= 0)
            return false;
        data += written;
        left -= size_t(written);
    }
    return true;
}
