// Keyboards as FIFOs in a device folder: the events HotkeyManager gets from them, modifiers
// held across keyboards, keyboards plugged in and out, and the problems the user is told.
#include "EvdevRecords.h"

#include "platform/evdev/EvdevKeySource.h"
#include "platform/evdev/EvdevKeyTable.h"
#include "platform/linux/KeyCodeTable.h"

#include <QSignalSpy>
#include <QTemporaryDir>
#include <QTest>

#include <fcntl.h>
#include <sys/stat.h>

using Type = KeyEventSource::Type;
using Event = KeyEventSource::Event;

namespace {

constexpr std::uint64_t fnBit = 0x800000, controlBit = 0x40000, optionBit = 0x80000,
                        shiftBit = 0x20000, commandBit = 0x100000;

Event flags(std::uint64_t bits)
{
    return {Type::flagsChanged, -1, bits};
}

} // namespace

// Global, for QList's comparison to find it.
static bool operator==(const Event &a, const Event &b)
{
    return a.type == b.type && a.keyCode == b.keyCode && a.flags == b.flags;
}

namespace QTest {
template <> char *toString(const Event &event)
{
    return qstrdup(QStringLiteral("{%1, %2, %3}")
                       .arg(int(event.type))
                       .arg(event.keyCode)
                       .arg(event.flags, 0, 16)
                       .toLatin1());
}
} // namespace QTest

class TestEvdevKeySource : public QObject
{
    Q_OBJECT

    std::unique_ptr<QTemporaryDir> m_dir;
    QList<int> m_writers;
    QList<int> m_heldNow;  // what every test keyboard says it holds after a drop
    QList<Event> m_events; // what the handler got

    QString node(const QString &name) const { return m_dir->filePath(name); }
    bool makeNode(const QString &name) const
    {
        return ::mkfifo(QFile::encodeName(node(name)).constData(), 0600) == 0;
    }
    // The keyboard's side of a node the source reads.
    int plugIn(const QString &name)
    {
        const int fd = ::open(QFile::encodeName(node(name)).constData(), O_WRONLY | O_NONBLOCK);
        m_writers.append(fd);
        return fd;
    }
    // Nodes named mouse* are no keyboards.
    EvdevKeySource::Probe probe()
    {
        const QString dir = m_dir->path();
        return {[dir](int fd) {
                    struct stat status = {}, mouse = {};
                    ::fstat(fd, &status);
                    return ::stat(QFile::encodeName(dir + "/event9").constData(), &mouse) != 0 ||
                           mouse.st_ino != status.st_ino;
                },
                [this](int) { return m_heldNow; }};
    }
    std::unique_ptr<EvdevKeySource> makeSource()
    {
        return std::make_unique<EvdevKeySource>(QStringLiteral("Control_R"), m_dir->path(),
                                                probe());
    }
    bool start(EvdevKeySource &source)
    {
        return source.start([this](const Event &event) {
            m_events.append(event);
            return true;
        });
    }
    QList<Event> takeEvents() { return std::exchange(m_events, {}); }

private Q_SLOTS:
    void init()
    {
        m_dir = std::make_unique<QTemporaryDir>();
        m_heldNow.clear();
        m_events.clear();
    }
    void cleanup()
    {
        for (int fd : std::as_const(m_writers))
            ::close(fd);
        m_writers.clear();
        FnKey::shared().setKey(QStringLiteral("Control_R"));
    }

    void fnKeyAndCombos()
    {
        QVERIFY(makeNode("event0"));
        auto source = makeSource();
        QVERIFY(start(*source));
        const int keyboard = plugIn("event0");
        source->setSwallowedCombos({{2, fnBit}});
        QVERIFY(writeAll(keyboard, keyFrame(KEY_RIGHTCTRL, 1) + keyFrame(KEY_D, 1) +
                                       keyFrame(KEY_D, 2) + keyFrame(KEY_D, 0) +
                                       keyFrame(KEY_MUTE, 1) + keyFrame(KEY_RIGHTCTRL, 0)));
        QTRY_COMPARE(m_events.size(), 4);
        QCOMPARE(takeEvents(),
                 (QList<Event>{
                     flags(fnBit), {Type::keyDown, 2, fnBit}, {Type::keyUp, 2, fnBit}, flags(0)}));
        // Only kept: the keys reached the application anyway.
        QCOMPARE(source->swallowedCombos(), (QList<KeyEventSource::Combo>{{2, fnBit}}));

        QVERIFY(writeAll(keyboard, keyFrame(KEY_LEFTCTRL, 1) + keyFrame(KEY_LEFTMETA, 1) +
                                       keyFrame(KEY_KP1, 1)));
        QTRY_COMPARE(m_events.size(), 3);
        QCOMPARE(takeEvents(), (QList<Event>{flags(controlBit),
                                             flags(controlBit | commandBit),
                                             {Type::keyDown, 83, controlBit | commandBit}}));
        QCOMPARE(source->currentModifierFlags(), controlBit | commandBit);
    }

    void modifiersHeldOnTwoKeyboards()
    {
        QVERIFY(makeNode("event0"));
        QVERIFY(makeNode("event1"));
        auto source = makeSource();
        QVERIFY(start(*source));
        const int first = plugIn("event0"), second = plugIn("event1");
        QVERIFY(writeAll(first, keyFrame(KEY_LEFTSHIFT, 1)));
        QTRY_COMPARE(m_events.size(), 1);
        QVERIFY(writeAll(second, keyFrame(KEY_LEFTSHIFT, 1) + keyFrame(KEY_LEFTALT, 1)));
        QTRY_COMPARE(m_events.size(), 2);
        // Shift stays down while the other keyboard holds it.
        QVERIFY(writeAll(first, keyFrame(KEY_LEFTSHIFT, 0) + keyFrame(KEY_Q, 1)));
        QTRY_COMPARE(m_events.size(), 3);
        QVERIFY(writeAll(second, keyFrame(KEY_LEFTSHIFT, 0)));
        QTRY_COMPARE(m_events.size(), 4);
        QCOMPARE(takeEvents(), (QList<Event>{flags(shiftBit),
                                             flags(shiftBit | optionBit),
                                             {Type::keyDown, 12, shiftBit | optionBit},
                                             flags(optionBit)}));
    }

    void dropsAndUnplugsReleaseKeys()
    {
        QVERIFY(makeNode("event0"));
        QVERIFY(makeNode("event1"));
        auto source = makeSource();
        QVERIFY(start(*source));
        QSignalSpy keyboardsChanged(source.get(), &EvdevKeySource::keyboardsChanged);
        const int first = plugIn("event0"), second = plugIn("event1");
        QVERIFY(writeAll(first, keyFrame(KEY_LEFTSHIFT, 1)));
        QVERIFY(writeAll(second, keyFrame(KEY_RIGHTCTRL, 1)));
        QTRY_COMPARE(source->currentModifierFlags(), shiftBit | fnBit);
        // Shift's release was lost in an overflow.
        QVERIFY(writeAll(first, record(EV_SYN, SYN_DROPPED, 0) + keyFrame(KEY_LEFTSHIFT, 0)));
        QTRY_COMPARE(source->currentModifierFlags(), fnBit);
        // Unplugged with fn down.
        ::close(m_writers.takeLast());
        QTRY_COMPARE(source->currentModifierFlags(), std::uint64_t(0));
        QCOMPARE(takeEvents(),
                 (QList<Event>{flags(shiftBit), flags(shiftBit | fnBit), flags(fnBit), flags(0)}));
        QCOMPARE(source->keyboards(), QStringList{node("event0")});
        QCOMPARE(keyboardsChanged.count(), 1);
    }

    void keyboardsPluggedInLater()
    {
        QVERIFY(makeNode("event0"));
        auto source = makeSource();
        QVERIFY(start(*source));
        QSignalSpy keyboardsChanged(source.get(), &EvdevKeySource::keyboardsChanged);
        QVERIFY(makeNode("event9")); // a mouse
        QVERIFY(makeNode("mouse0"));
        QVERIFY(makeNode("event3"));
        QVERIFY(keyboardsChanged.wait());
        QCOMPARE(source->keyboards(), (QStringList{node("event0"), node("event3")}));
        QVERIFY(writeAll(plugIn("event3"), keyFrame(KEY_ENTER, 1)));
        QTRY_COMPARE(m_events.size(), 1);
        QCOMPARE(takeEvents(), (QList<Event>{{Type::keyDown, 36, 0}}));

        // udev gives a new node its group a moment after the node appears.
        keyboardsChanged.clear();
        {
            WithoutFileOverride asUser;
            QVERIFY(makeNode("event5"));
            QVERIFY(::chmod(QFile::encodeName(node("event5")).constData(), 0) == 0);
            QVERIFY(makeNode("event6"));
            QVERIFY(keyboardsChanged.wait());
            QCOMPARE(source->keyboards().size(), 3);
            QVERIFY(::chmod(QFile::encodeName(node("event5")).constData(), 0600) == 0);
            QVERIFY(keyboardsChanged.wait());
        }
        QCOMPARE(source->keyboards().size(), 4);
    }

    void stoppedByItsOwnHandler()
    {
        QVERIFY(makeNode("event0"));
        auto source = makeSource();
        QVERIFY(source->start([&](const Event &event) {
            m_events.append(event);
            source->stop();
            return false;
        }));
        QVERIFY(writeAll(plugIn("event0"), keyFrame(KEY_A, 1) + keyFrame(KEY_B, 1)));
        QTRY_COMPARE(m_events.size(), 1);
        QTest::qWait(0);
        QCOMPARE(m_events.size(), 1);
        QVERIFY(source->keyboards().isEmpty());
    }

    void problemsTheUserIsTold()
    {
        auto source = makeSource();
        QVERIFY(!start(*source));
        QCOMPARE(source->problem(), EvdevKeySource::Problem::noKeyboards);
        QVERIFY(source->lastProblem().contains("no keyboard devices"));
        QVERIFY(makeNode("event9"));
        QVERIFY(!start(*source));
        QCOMPARE(source->problem(), EvdevKeySource::Problem::noKeyboards);

        QVERIFY(makeNode("event0"));
        QVERIFY(::chmod(QFile::encodeName(node("event0")).constData(), 0) == 0);
        {
            WithoutFileOverride asUser;
            QVERIFY(!start(*source));
        }
        QCOMPARE(source->problem(), EvdevKeySource::Problem::permissionDenied);
        QVERIFY(source->lastProblem().contains("sudo usermod -aG input $USER"));

        EvdevKeySource missing(QStringLiteral("Control_R"), node("absent"), probe());
        QVERIFY(!start(missing));
        QCOMPARE(missing.problem(), EvdevKeySource::Problem::noKeyboards);

        QVERIFY(::chmod(QFile::encodeName(node("event0")).constData(), 0600) == 0);
        QVERIFY(start(*source));
        QCOMPARE(source->problem(), EvdevKeySource::Problem::none);
        QVERIFY(source->lastProblem().isEmpty());
    }

    void fnKeySwitchedWhileHeld()
    {
        QVERIFY(makeNode("event0"));
        auto source = makeSource();
        QVERIFY(start(*source));
        const int keyboard = plugIn("event0");
        QVERIFY(writeAll(keyboard, keyFrame(KEY_RIGHTCTRL, 1)));
        QTRY_COMPARE(m_events.size(), 1);
        FnKey::shared().setKey(QStringLiteral("Alt_R"));
        QVERIFY(writeAll(keyboard, keyFrame(KEY_RIGHTCTRL, 0) + keyFrame(KEY_RIGHTCTRL, 1) +
                                       keyFrame(KEY_RIGHTALT, 1)));
        QTRY_COMPARE(m_events.size(), 4);
        QCOMPARE(takeEvents(), (QList<Event>{flags(fnBit), flags(0), flags(controlBit),
                                             flags(controlBit | fnBit)}));
    }

    void everyShortcutKeyHasAPlace()
    {
        for (int code = 0; code < 128; ++code) {
            if (KeyCodeTable::toKeysym(code) == 0)
                continue;
            bool found = false;
            for (int evdev = 0; evdev < KEY_CNT && !found; ++evdev)
                found = KeyCodeTable::fromKeysym(EvdevKeyTable::keysym(evdev)) == code;
            QVERIFY2(found, qPrintable(QString::number(code)));
        }
    }
};

QTEST_GUILESS_MAIN(TestEvdevKeySource)
#include "TestEvdevKeySource.moc"
