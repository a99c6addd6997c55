// The records the virtual keyboard writes for a paste and a copy, in a terminal and out of
// one, and what the user is told when the virtual keyboard cannot be made.
#include "EvdevRecords.h"

#include "platform/evdev/UinputKeyboard.h"

#include <QFile>
#include <QTemporaryDir>
#include <QTest>

#include <fcntl.h>

namespace {

// "K29=1" for a key, "S" for SYN_REPORT.
QStringList readRecords(int fd)
{
    QStringList records;
    input_event event{};
    while (::read(fd, &event, sizeof event) == ssize_t(sizeof event)) {
        if (event.type == EV_SYN && event.code == SYN_REPORT)
            records.append(QStringLiteral("S"));
        else
            records.append(QStringLiteral("%1%2=%3")
                               .arg(event.type == EV_KEY ? "K" : "?")
                               .arg(event.code)
                               .arg(event.value));
    }
    return records;
}

QStringList keys(std::initializer_list<QPair<int, int>> changes)
{
    QStringList records;
    for (const auto &[code, value] : changes)
        records << QStringLiteral("K%1=%2").arg(code).arg(value) << QStringLiteral("S");
    return records;
}

} // namespace

class TestUinputKeyboard : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void chordRecords()
    {
        int fds[2];
        QVERIFY(::pipe2(fds, O_NONBLOCK | O_CLOEXEC) == 0);
        bool terminal = false;
        UinputKeyboard keyboard(fds[1], [&terminal] { return terminal; });

        QVERIFY(keyboard.send(KeySynthesizer::Command::paste));
        QCOMPARE(readRecords(fds[0]),
                 keys({{KEY_LEFTCTRL, 1}, {KEY_V, 1}, {KEY_V, 0}, {KEY_LEFTCTRL, 0}}));
        terminal = true;
        QVERIFY(keyboard.send(KeySynthesizer::Command::paste));
        QCOMPARE(readRecords(fds[0]), keys({{KEY_LEFTCTRL, 1},
                                            {KEY_LEFTSHIFT, 1},
                                            {KEY_V, 1},
                                            {KEY_V, 0},
                                            {KEY_LEFTSHIFT, 0},
                                            {KEY_LEFTCTRL, 0}}));
        QVERIFY(keyboard.send(KeySynthesizer::Command::copy));
        QCOMPARE(readRecords(fds[0]), keys({{KEY_LEFTCTRL, 1},
                                            {KEY_LEFTSHIFT, 1},
                                            {KEY_C, 1},
                                            {KEY_C, 0},
                                            {KEY_LEFTSHIFT, 0},
                                            {KEY_LEFTCTRL, 0}}));
        ::close(fds[0]);
        ::close(fds[1]);

        // Without a device to write to the caller learns the keys were not sent.
        const int readOnly = ::open("/dev/null", O_RDONLY | O_CLOEXEC);
        UinputKeyboard unwritable(readOnly, {});
        QVERIFY(!unwritable.send(KeySynthesizer::Command::copy));
        ::close(readOnly);
    }

    void creationProblems()
    {
        QTemporaryDir dir;
        auto missing = UinputKeyboard::create({}, dir.filePath("uinput"));
        QCOMPARE(missing.problem, UinputKeyboard::Problem::noDevice);
        QVERIFY(!missing.keyboard);
        QVERIFY(missing.message.contains("modprobe uinput"));

        QFile node(dir.filePath("uinput"));
        QVERIFY(node.open(QIODevice::WriteOnly));
        node.close();
        // Not a uinput device: the kernel refuses its requests.
        auto notUinput = UinputKeyboard::create({}, node.fileName());
        QCOMPARE(notUinput.problem, UinputKeyboard::Problem::failed);
        QVERIFY(notUinput.message.contains(node.fileName()));

        QVERIFY(node.setPermissions({}));
        WithoutFileOverride asUser;
        auto denied = UinputKeyboard::create({}, node.fileName());
        QCOMPARE(denied.problem, UinputKeyboard::Problem::permissionDenied);
        QVERIFY(!denied.keyboard);
        QVERIFY(denied.message.contains("udev"));
        QVERIFY(denied.message.contains("sudo usermod -aG input $USER"));
    }
};

QTEST_GUILESS_MAIN(TestUinputKeyboard)
#include "TestUinputKeyboard.moc"
