#include "platform/evdev/EvdevKeySource.h"

#include "platform/evdev/EvdevKeyTable.h"
#include "platform/evdev/EvdevKeyboard.h"
#include "platform/evdev/UinputKeyboard.h"
#include "platform/linux/KeyCodeTable.h"
#include "platform/linux/X11KeyboardMap.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QFileSystemWatcher>

#include <X11/keysym.h>
#include <cerrno>
#include <fcntl.h>
#include <libevdev/libevdev.h>
#include <linux/input.h>
#include <sys/ioctl.h>
#include <sys/stat.h>
#include <unistd.h>

namespace {

// The keysyms of FnKey::choices(), without asking libX11 to parse them.
unsigned long keysymOfFnKey(const QString &name)
{
    static const QHash<QString, unsigned long> keysyms{
        {QStringLiteral("Control_R"), XK_Control_R},
        {QStringLiteral("Alt_R"), XK_Alt_R},
        {QStringLiteral("Super_R"), XK_Super_R},
        {QStringLiteral("Menu"), XK_Menu},
    };
    return keysyms.value(name, 0);
}

bool kernelIsKeyboard(int fd)
{
    libevdev *device = nullptr;
    if (libevdev_new_from_fd(fd, &device) < 0)
        return false;
    // Power buttons and mice with a few keys are no keyboards; our own virtual keyboard
    // types only what we asked for.
    bool keyboard = libevdev_has_event_type(device, EV_KEY) &&
                    QString::fromUtf8(libevdev_get_name(device)) != UinputKeyboard::deviceName();
    for (unsigned code : {KEY_A, KEY_Z, KEY_SPACE, KEY_ENTER})
        keyboard = keyboard && libevdev_has_event_code(device, EV_KEY, code);
    libevdev_free(device);
    return keyboard;
}

QList<int> kernelHeldKeys(int fd)
{
    constexpr int bitsPerLong = int(sizeof(unsigned long)) * 8;
    unsigned long bits[KEY_CNT / bitsPerLong + 1] = {};
    QList<int> held;
    if (::ioctl(fd, EVIOCGKEY(sizeof bits), bits) < 0)
        return held;
    for (int code = 0; code < KEY_CNT; ++code) {
        if (bits[code / bitsPerLong] & (1UL << (code % bitsPerLong)))
            held.append(code);
    }
    return held;
}

} // namespace

EvdevKeySource::Probe EvdevKeySource::kernelProbe()
{
    return {kernelIsKeyboard, kernelHeldKeys};
}

EvdevKeySource::EvdevKeySource(const QString &fnKey, const QString &deviceDirectory, Probe probe,
                               QObject *parent)
    : QObject(parent), m_directory(deviceDirectory), m_probe(std::move(probe))
{
    setFnKey(fnKey);
    connect(&FnKey::shared(), &FnKey::keyChanged, this,
            [this] { setFnKey(FnKey::shared().key()); });
}

EvdevKeySource::~EvdevKeySource()
{
    stop();
}

void EvdevKeySource::setFnKey(const QString &keysymName)
{
    if (const unsigned long keysym = keysymOfFnKey(keysymName))
        m_fnKeysym = keysym;
}

bool EvdevKeySource::start(Handler handler)
{
    m_handler = std::move(handler);
    if (m_started)
        return true;
    m_started = true;
    m_heldModifiers.clear();
    m_watcher = std::make_unique<QFileSystemWatcher>();
    // Also told when udev gives a new node its group, after it appeared unreadable.
    connect(m_watcher.get(), &QFileSystemWatcher::directoryChanged, this, &EvdevKeySource::scan);
    if (QFileInfo(m_directory).isDir())
        m_watcher->addPath(m_directory);
    scan();
    if (m_keyboards.isEmpty()) {
        const Problem problem = m_problem;
        stop();
        m_problem = problem;
        return false;
    }
    return true;
}

void EvdevKeySource::stop()
{
    m_watcher.reset();
    for (EvdevKeyboard *keyboard : std::as_const(m_keyboards)) {
        keyboard->disconnect(this);
        // Later: this may run inside one of its key signals.
        keyboard->deleteLater();
    }
    const bool hadKeyboards = !m_keyboards.isEmpty();
    m_keyboards.clear();
    m_notKeyboards.clear();
    m_heldModifiers.clear();
    m_handler = {};
    m_started = false;
    if (hadKeyboards)
        Q_EMIT keyboardsChanged();
}

std::uint64_t EvdevKeySource::currentModifierFlags() const
{
    std::uint64_t flags = 0;
    for (std::uint64_t bit : m_heldModifiers)
        flags |= bit;
    return flags;
}

void EvdevKeySource::setSwallowedCombos(QList<Combo> combos)
{
    m_combos = std::move(combos);
}

QString EvdevKeySource::lastProblem() const
{
    switch (m_problem) {
    case Problem::none:
        return {};
    case Problem::noKeyboards:
        return tr("no keyboard devices in %1").arg(m_directory);
    case Problem::permissionDenied:
        return tr("permission denied on the keyboards in %1: add yourself to the input group "
                  "with `sudo usermod -aG input $USER` and log in again")
            .arg(m_directory);
    }
    return {};
}

QStringList EvdevKeySource::keyboards() const
{
    QStringList paths = m_keyboards.keys();
    paths.sort();
    return paths;
}

void EvdevKeySource::scan()
{
    if (!m_started)
        return;
    bool denied = false, added = false;
    const QStringList nodes =
        QDir(m_directory).entryList({QStringLiteral("event*")}, QDir::System | QDir::Files);
    for (const QString &node : nodes) {
        const QString path = QDir(m_directory).filePath(node);
        if (m_keyboards.contains(path))
            continue;
        switch (open(path)) {
        case Opened::keyboard:
            added = true;
            break;
        case Opened::denied:
            denied = true;
            break;
        case Opened::other:
            break;
        }
    }
    if (!m_keyboards.isEmpty())
        m_problem = Problem::none;
    else
        m_problem = denied ? Problem::permissionDenied : Problem::noKeyboards;
    if (added)
        Q_EMIT keyboardsChanged();
}

EvdevKeySource::Opened EvdevKeySource::open(const QString &path)
{
    const QByteArray name = QFile::encodeName(path);
    struct stat status = {};
    if (::stat(name.constData(), &status) != 0)
        return Opened::other;
    const auto known = m_notKeyboards.constFind(path);
    if (known != m_notKeyboards.cend() && *known == quint64(status.st_ino))
        return Opened::other;
    // Read only and never grabbed: the compositor must go on getting every key.
    const int fd = ::open(name.constData(), O_RDONLY | O_NONBLOCK | O_CLOEXEC);
    if (fd < 0)
        return errno == EACCES || errno == EPERM ? Opened::denied : Opened::other;
    if (!m_probe.isKeyboard || !m_probe.isKeyboard(fd)) {
        ::close(fd);
        m_notKeyboards.insert(path, quint64(status.st_ino));
        return Opened::other;
    }
    m_notKeyboards.remove(path);
    const int device = m_nextDeviceId++;
    auto held = m_probe.heldKeys;
    auto *keyboard = new EvdevKeyboard(
        fd, [held, fd] { return held ? held(fd) : QList<int>{}; }, this);
    connect(keyboard, &EvdevKeyboard::keyChanged, this,
            [this, device](int code, bool pressed) { handleKey(device, code, pressed); });
    connect(keyboard, &EvdevKeyboard::gone, this, [this, path] { removeKeyboard(path); });
    m_keyboards.insert(path, keyboard);
    return Opened::keyboard;
}

void EvdevKeySource::removeKeyboard(const QString &path)
{
    EvdevKeyboard *keyboard = m_keyboards.take(path);
    if (!keyboard)
        return;
    keyboard->disconnect(this);
    keyboard->deleteLater(); // it is emitting the signal that brought us here
    if (m_keyboards.isEmpty())
        m_problem = Problem::noKeyboards;
    Q_EMIT keyboardsChanged();
}

void EvdevKeySource::handleKey(int device, int evdevCode, bool pressed)
{
    // A copy: the handler may stop this source, which lets go of m_handler.
    const Handler handler = m_handler;
    if (!handler)
        return;
    const unsigned long keysym = EvdevKeyTable::keysym(evdevCode);
    if (keysym == 0)
        return;
    const QPair<int, int> key{device, evdevCode};
    // A modifier keeps the bit it went down with, whichever key is fn by its release.
    const std::uint64_t bit = pressed ? X11KeyboardMap::modifierBitOfKeysym(keysym, m_fnKeysym)
                                      : m_heldModifiers.value(key, 0);
    if (bit) {
        const std::uint64_t before = currentModifierFlags();
        if (pressed)
            m_heldModifiers.insert(key, bit);
        else
            m_heldModifiers.remove(key);
        const std::uint64_t after = currentModifierFlags();
        if (after != before)
            handler({Type::flagsChanged, -1, after});
        return;
    }
    const int code = KeyCodeTable::fromKeysym(keysym);
    if (code < 0)
        return; // no shortcut can name this key
    // The answer is not used: the key has reached the application already.
    handler({pressed ? Type::keyDown : Type::keyUp, code, currentModifierFlags()});
}
