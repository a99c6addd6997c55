// One keyboard's stream read from a pipe: frames, repeats, records cut in two, events the
// kernel dropped, and the device going away with a key down.
#include "EvdevRecords.h"

#include "platform/evdev/EvdevKeyboard.h"

#include <QSignalSpy>
#include <QTest>

#include <fcntl.h>

class TestEvdevKeyboard : public QObject
{
    Q_OBJECT

    int m_read = -1, m_write = -1;

    static QList<QVariantList> changes(QSignalSpy &spy)
    {
        QList<QVariantList> list(spy.begin(), spy.end());
        spy.clear();
        return list;
    }
    static QVariantList change(int code, bool pressed) { return {code, pressed}; }

private Q_SLOTS:
    void init()
    {
        int fds[2];
        QVERIFY(::pipe2(fds, O_NONBLOCK | O_CLOEXEC) == 0);
        m_read = fds[0];
        m_write = fds[1];
    }
    void cleanup()
    {
        if (m_write >= 0)
            ::close(m_write);
        m_write = -1;
    }

    void framesWithoutRepeatsOrOtherEvents()
    {
        EvdevKeyboard keyboard(m_read, {});
        QSignalSpy spy(&keyboard, &EvdevKeyboard::keyChanged);
        // Nothing counts before its frame ends.
        QVERIFY(writeAll(m_write, record(EV_MSC, MSC_SCAN, 0x70004) + record(EV_KEY, KEY_A, 1)));
        QTRY_COMPARE(unreadBytes(m_read), 0);
        QCOMPARE(spy.count(), 0);
        QVERIFY(writeAll(m_write, synReport() + keyFrame(KEY_A, 2) + keyFrame(KEY_A, 2) +
                                      keyFrame(KEY_A, 1) + record(EV_REL, REL_X, 3) + synReport() +
                                      keyFrame(KEY_A, 0) + keyFrame(KEY_B, 0)));
        QTRY_COMPARE(spy.count(), 2);
        QCOMPARE(changes(spy), (QList<QVariantList>{change(KEY_A, true), change(KEY_A, false)}));
        QVERIFY(keyboard.heldKeys().isEmpty());
    }

    void recordSplitAcrossWrites()
    {
        EvdevKeyboard keyboard(m_read, {});
        QSignalSpy spy(&keyboard, &EvdevKeyboard::keyChanged);
        const QByteArray frame = keyFrame(KEY_RIGHTCTRL, 1);
        QVERIFY(writeAll(m_write, frame.left(10)));
        QTRY_COMPARE(unreadBytes(m_read), 0);
        QVERIFY(writeAll(m_write, frame.mid(10)));
        QVERIFY(spy.wait());
        QCOMPARE(changes(spy), (QList<QVariantList>{change(KEY_RIGHTCTRL, true)}));
        QCOMPARE(keyboard.heldKeys(), (QList<int>{KEY_RIGHTCTRL}));
    }

    void resyncAfterDroppedEvents()
    {
        QList<int> heldNow;
        EvdevKeyboard keyboard(m_read, [&heldNow] { return heldNow; });
        QSignalSpy spy(&keyboard, &EvdevKeyboard::keyChanged);
        QVERIFY(writeAll(m_write, keyFrame(KEY_LEFTSHIFT, 1) + keyFrame(KEY_A, 1)));
        QTRY_COMPARE(spy.count(), 2);
        spy.clear();
        // The release of A and the press of B were lost with the overflow; so is anything
        // of the frame the drop cut into.
        heldNow = {KEY_B, KEY_LEFTSHIFT};
        QVERIFY(writeAll(m_write, record(EV_KEY, KEY_C, 1) + record(EV_SYN, SYN_DROPPED, 0) +
                                      record(EV_KEY, KEY_B, 1) + synReport() + keyFrame(KEY_D, 1)));
        QTRY_COMPARE(spy.count(), 3);
        QCOMPARE(changes(spy), (QList<QVariantList>{change(KEY_A, false), change(KEY_B, true),
                                                    change(KEY_D, true)}));
        QCOMPARE(keyboard.heldKeys(), (QList<int>{KEY_D, KEY_LEFTSHIFT, KEY_B}));
    }

    void unpluggedWithKeysDown()
    {
        EvdevKeyboard keyboard(m_read, {});
        QSignalSpy keys(&keyboard, &EvdevKeyboard::keyChanged);
        QSignalSpy gone(&keyboard, &EvdevKeyboard::gone);
        QVERIFY(writeAll(m_write, keyFrame(KEY_RIGHTALT, 1) + keyFrame(KEY_F, 1)));
        ::close(m_write);
        m_write = -1;
        QVERIFY(gone.wait());
        QCOMPARE(changes(keys),
                 (QList<QVariantList>{change(KEY_RIGHTALT, true), change(KEY_F, true),
                                      change(KEY_F, false), change(KEY_RIGHTALT, false)}));
        QVERIFY(keyboard.isGone());
        QVERIFY(keyboard.heldKeys().isEmpty());
        QTest::qWait(0);
        QCOMPARE(gone.count(), 1);
    }
};

QTEST_GUILESS_MAIN(TestEvdevKeyboard)
#include "TestEvdevKeyboard.moc"
