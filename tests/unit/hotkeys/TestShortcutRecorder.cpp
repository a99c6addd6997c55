#include "hotkeys/ShortcutRecorder.h"
#include "hotkeys/ShortcutRecording.h"

#include <QKeyEvent>
#include <QQuickItem>
#include <QQuickView>
#include <QSignalSpy>
#include <QTest>

using S = Shortcut;
constexpr auto down = QEvent::KeyPress, up = QEvent::KeyRelease;

namespace {

// Keys of the fake keyboard; each is its own native scan code and virtual key.
enum FakeKey : quint32 {
    fnKey = 1,
    controlKey,
    optionKey,
    commandKey,
    shiftKey,
    dKey,
    escapeKey,
    isoKey,
    spaceKey,
    unnamedKey
};

class FakeKeyboardMap : public KeyboardMap
{
public:
    std::uint64_t modifierBit(NativeKey key) const override
    {
        static const QHash<quint32, std::uint64_t> bits{{fnKey, S::fn},
                                                        {controlKey, S::control},
                                                        {optionKey, S::option},
                                                        {commandKey, S::command},
                                                        {shiftKey, S::shift}};
        return bits.value(key.virtualKey);
    }
    Key key(NativeKey key) const override
    {
        static const QHash<quint32, Key> keys{{dKey, {2, QStringLiteral("d")}},
                                              {escapeKey, {53, {}}},
                                              {isoKey, {10, {}}},
                                              {spaceKey, {49, QStringLiteral(" ")}}};
        return keys.value(key.virtualKey);
    }
};

// Counts the key events that get past the recorder.
class KeyTarget : public QObject
{
public:
    int keys = 0;
    bool event(QEvent *event) override
    {
        if (event->type() == QEvent::KeyPress || event->type() == QEvent::KeyRelease)
            ++keys;
        return QObject::event(event);
    }
};

} // namespace

class TestShortcutRecorder : public QObject
{
    Q_OBJECT

    FakeKeyboardMap m_map;
    KeyTarget m_target;

    void send(QEvent::Type type, std::initializer_list<quint32> keys, QObject *receiver = nullptr)
    {
        for (quint32 key : keys) {
            QKeyEvent event(type, Qt::Key_unknown, Qt::NoModifier, key, key, 0);
            QCoreApplication::sendEvent(receiver ? receiver : &m_target, &event);
        }
    }

private Q_SLOTS:
    void init() { m_target.keys = 0; }

    void labelsAndToggle()
    {
        ShortcutRecorder recorder(&m_map);
        QSignalSpy changed(&recorder, &ShortcutRecorder::shortcutChanged);
        QSignalSpy edited(&recorder, &ShortcutRecorder::edited);
        QCOMPARE(recorder.label(), "Click to record");
        recorder.setShortcut(S(0x10000)); // caps lock only
        QCOMPARE(recorder.label(), "Click to record");

        recorder.setShortcut(S(S::option | S::command));
        recorder.setShortcut(S(S::option | S::command));
        QCOMPARE(changed.count(), 2);
        QCOMPARE(recorder.label(), "Alt+Super");

        recorder.toggle();
        QVERIFY(recorder.isRecording());
        QCOMPARE(recorder.label(), "Press keys…");
        send(down, {optionKey});
        recorder.toggle();
        QVERIFY(!recorder.isRecording());
        QCOMPARE(recorder.label(), "Alt+Super");
        // The peak of the abandoned recording is gone.
        recorder.toggle();
        send(down, {shiftKey});
        send(up, {shiftKey, optionKey});
        QCOMPARE(recorder.shortcut(), S(S::shift));

        recorder.clear();
        QCOMPARE(recorder.shortcut(), S());
        QCOMPARE(recorder.label(), "Click to record");
        QCOMPARE(edited.count(), 2);
        QCOMPARE(edited.last().first().value<Shortcut>(), S());
    }

    void modifierOnlyOnRelease()
    {
        ShortcutRecorder recorder(&m_map);
        QSignalSpy edited(&recorder, &ShortcutRecorder::edited);
        recorder.toggle();
        send(down, {fnKey, controlKey});
        send(up, {fnKey});
        QVERIFY(recorder.isRecording());
        send(up, {controlKey});
        QVERIFY(!recorder.isRecording());
        QCOMPARE(recorder.shortcut(), S(S::fn | S::control));
        QCOMPARE(recorder.label(), "Right Ctrl+Left Ctrl");
        QCOMPARE(edited.count(), 1);
        QCOMPARE(m_target.keys, 0);
    }

    void keyCombinationOnKeyDown()
    {
        ShortcutRecorder recorder(&m_map);
        QSignalSpy edited(&recorder, &ShortcutRecorder::edited);
        recorder.toggle();
        send(down, {optionKey, commandKey, dKey});
        QVERIFY(!recorder.isRecording());
        QCOMPARE(recorder.shortcut(), S(S::option | S::command, 2, "D"));
        QCOMPARE(recorder.label(), "Alt+Super+D");
        QCOMPARE(m_target.keys, 0);

        send(up, {dKey, optionKey, commandKey});
        QCOMPARE(recorder.shortcut(), S(S::option | S::command, 2, "D"));
        QCOMPARE(edited.count(), 1);
        QCOMPARE(m_target.keys, 3); // no longer swallowed
    }

    void keyWithoutModifierKeepsRecording()
    {
        ShortcutRecorder recorder(&m_map);
        recorder.setShortcut(S(S::fn));
        QSignalSpy edited(&recorder, &ShortcutRecorder::edited);
        recorder.toggle();
        send(down, {dKey});
        send(up, {dKey});
        QVERIFY(recorder.isRecording());
        QCOMPARE(m_target.keys, 0);
        // Application shortcuts must not fire either.
        QKeyEvent override(QEvent::ShortcutOverride, Qt::Key_Q, Qt::ControlModifier);
        override.ignore();
        QCoreApplication::sendEvent(&m_target, &override);
        QVERIFY(override.isAccepted());

        send(down, {escapeKey});
        QVERIFY(!recorder.isRecording());
        QCOMPARE(recorder.shortcut(), S(S::fn));
        QCOMPARE(edited.count(), 0);
    }

    void keyCombinations_data()
    {
        QTest::addColumn<QList<quint32>>("keys");
        QTest::addColumn<Shortcut>("expected"); // empty: still recording
        QTest::newRow("fn left out")
            << QList<quint32>{fnKey, commandKey, dKey} << S(S::command, 2, "D");
        QTest::newRow("fn alone is no modifier") << QList<quint32>{fnKey, dKey} << S();
        QTest::newRow("special key")
            << QList<quint32>{controlKey, spaceKey} << S(S::control, 49, "Space");
        QTest::newRow("no characters")
            << QList<quint32>{shiftKey, isoKey} << S(S::shift, 10, "Key 10");
        QTest::newRow("key no shortcut can name") << QList<quint32>{shiftKey, unnamedKey} << S();
    }

    void keyCombinations()
    {
        QFETCH(QList<quint32>, keys);
        QFETCH(Shortcut, expected);
        ShortcutRecorder recorder(&m_map);
        recorder.toggle();
        for (quint32 key : keys)
            send(down, {key});
        QCOMPARE(recorder.isRecording(), expected == S());
        QCOMPARE(recorder.shortcut(), expected);
    }

    void shortcutFlags()
    {
        const S::Flags all = S::fn | S::control | S::option | S::shift | S::command;
        const S::Flags noise = 0x10000 | 0x100 | (S::Flags(1) << 40);
        QCOMPARE(ShortcutRecorder::shortcutFlags(all | noise, true), all);
        QCOMPARE(ShortcutRecorder::shortcutFlags(all | noise, false), all & ~S::fn);
        QCOMPARE(ShortcutRecorder::shortcutFlags(S::fn, true), S::fn);
    }

    // The application hears once when some field starts recording and once when none does:
    // its global hotkeys rest in between.
    void oneRecorderAtATime()
    {
        QSignalSpy recording(&ShortcutRecording::shared(), &ShortcutRecording::activeChanged);
        ShortcutRecorder first(&m_map), second(&m_map);
        first.toggle();
        second.toggle();
        QVERIFY(!first.isRecording());
        QVERIFY(ShortcutRecording::shared().isActive());
        send(down, {optionKey});
        send(up, {optionKey});
        QCOMPARE(second.shortcut(), S(S::option));
        QCOMPARE(first.shortcut(), S());
        QVERIFY(!ShortcutRecording::shared().isActive());
        QCOMPARE(recording.count(), 2);
    }

    void namesTheChosenFnKey()
    {
        ShortcutRecorder recorder(&m_map);
        QSignalSpy hint(&recorder, &ShortcutRecorder::hintChanged);
        recorder.setShortcut(S(S::fn | S::control));
        QCOMPARE(recorder.label(), "Right Ctrl+Left Ctrl");
        recorder.setFnKeyName(QStringLiteral("Right Alt"));
        QCOMPARE(recorder.label(), "Right Alt+Ctrl");
        QVERIFY(recorder.hint().contains("or hold Right Alt. Every hotkey needs at least one "
                                         "modifier (Super, Alt, Ctrl, Shift or Right Alt)"));
        QCOMPARE(hint.count(), 1);
    }

    void qmlField()
    {
        ShortcutRecorder::setDefaultKeyboardMap(&m_map);
        QQuickView view;
        view.setSource(QUrl(QStringLiteral("qrc:/Ovrin/Hotkeys/ShortcutField.qml")));
        QCOMPARE(view.status(), QQuickView::Ready);
        view.show();
        QVERIFY(QTest::qWaitForWindowExposed(&view));
        QQuickItem *field = view.rootObject();
        auto *label = field->findChild<QQuickItem *>("label");
        auto *clearButton = field->findChild<QQuickItem *>("clearButton");
        QSignalSpy edited(field, SIGNAL(edited(QVariant)));

        field->setProperty("shortcut", S(S::shift | S::command, 2, "D").encode());
        QCOMPARE(label->property("text").toString(), "Shift+Super+D");
        QVERIFY(clearButton->isVisible());

        QTest::mouseClick(&view, Qt::LeftButton, {}, field->boundingRect().center().toPoint());
        QCOMPARE(label->property("text").toString(), "Press keys…");
        send(down, {escapeKey}, &view);
        QCOMPARE(label->property("text").toString(), "Shift+Super+D");
        QTest::keyClick(&view, Qt::Key_Space); // the click gave it focus
        QCOMPARE(label->property("text").toString(), "Press keys…");
        send(down, {escapeKey}, &view);

        const QPointF clearCenter = clearButton->mapToScene(clearButton->boundingRect().center());
        QTest::mouseClick(&view, Qt::LeftButton, {}, clearCenter.toPoint());
        QCOMPARE(label->property("text").toString(), "Click to record");
        QCOMPARE(edited.count(), 1);
        QVERIFY(clearButton->isVisible()); // stays beside the empty field, with nothing to do
        QVERIFY(!clearButton->isEnabled());
        ShortcutRecorder::setDefaultKeyboardMap(nullptr);
    }
};

QTEST_MAIN(TestShortcutRecorder)
#include "TestShortcutRecorder.moc"
