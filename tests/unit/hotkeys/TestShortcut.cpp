#include "hotkeys/CaptureMode.h"
#include "hotkeys/Shortcut.h"

#include <QJsonArray>
#include <QJsonDocument>
#include <QTest>

namespace {

constexpr Shortcut::Flags capsLock = 0x10000;

QJsonValue json(const char *text)
{
    QJsonParseError error;
    const QJsonDocument document = QJsonDocument::fromJson(text, &error);
    if (error.error != QJsonParseError::NoError)
        qFatal("bad JSON in test data: %s", text);
    return document.isArray() ? QJsonValue(document.array()) : QJsonValue(document.object());
}

} // namespace

class TestShortcut : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void displayName_data();
    void displayName();
    void legacy_data();
    void legacy();
    void equality();
    void encode_data();
    void encode();
    void decodeAccepts_data();
    void decodeAccepts();
    void decodeRejects_data();
    void decodeRejects();
    void defaultsPerCaptureMode();
};

void TestShortcut::displayName_data()
{
    QTest::addColumn<Shortcut>("shortcut");
    QTest::addColumn<QString>("expected");
    QTest::newRow("fn+control") << Shortcut(Shortcut::fn | Shortcut::control) << "fn ⌃";
    QTest::newRow("command+shift+D")
        << Shortcut(Shortcut::command | Shortcut::shift, 2, QStringLiteral("D")) << "⇧ ⌘ D";
    QTest::newRow("all modifiers in fixed order")
        << Shortcut(Shortcut::command | Shortcut::shift | Shortcut::option | Shortcut::control |
                    Shortcut::fn)
        << "fn ⌃ ⌥ ⇧ ⌘";
    QTest::newRow("nothing") << Shortcut() << "None";
    QTest::newRow("key without modifiers") << Shortcut(0, 96, QStringLiteral("F5")) << "F5";
    QTest::newRow("empty label") << Shortcut(Shortcut::option, 49, QString()) << "⌥";
    QTest::newRow("caps lock not shown")
        << Shortcut(Shortcut::command | capsLock, 2, QString()) << "⌘";
}

void TestShortcut::displayName()
{
    QFETCH(Shortcut, shortcut);
    QFETCH(QString, expected);
    QCOMPARE(shortcut.displayName(), expected);
}

void TestShortcut::legacy_data()
{
    QTest::addColumn<QString>("name");
    QTest::addColumn<quint64>("modifiers");
    using S = Shortcut;
    QTest::newRow("fn") << "fn" << quint64(S::fn);
    QTest::newRow("option") << "option" << quint64(S::option);
    QTest::newRow("command") << "command" << quint64(S::command);
    QTest::newRow("control") << "control" << quint64(S::control);
    QTest::newRow("fn+control") << "fn+control" << quint64(S::fn | S::control);
    QTest::newRow("fn+control+option")
        << "fn+control+option" << quint64(S::fn | S::control | S::option);
    QTest::newRow("option+command") << "option+command" << quint64(S::option | S::command);
    QTest::newRow("control+option") << "control+option" << quint64(S::control | S::option);
    QTest::newRow("control+command") << "control+command" << quint64(S::control | S::command);
    QTest::newRow("command+shift") << "command+shift" << quint64(S::command | S::shift);
    for (const char *unknown : {"", "shift", "fn+option", "Fn", "fn + control"})
        QTest::addRow("unknown '%s'", unknown) << unknown << quint64(S::fn);
}

void TestShortcut::legacy()
{
    QFETCH(QString, name);
    QFETCH(quint64, modifiers);
    const Shortcut shortcut = Shortcut::legacy(name);
    QCOMPARE(shortcut, Shortcut(modifiers));
    QVERIFY(shortcut.isModifierOnly());
    QVERIFY(!shortcut.keyLabel);
}

void TestShortcut::equality()
{
    const Shortcut d(Shortcut::command, 2, QStringLiteral("D"));
    QVERIFY(d == Shortcut(Shortcut::command, 2, QStringLiteral("D")));
    QVERIFY(d != Shortcut(Shortcut::command, 2, QStringLiteral("d")));
    QVERIFY(d != Shortcut(Shortcut::command, 2));
    QVERIFY(Shortcut(Shortcut::command) != Shortcut(Shortcut::command, 0));
    QVERIFY(Shortcut(Shortcut::command | capsLock) != Shortcut(Shortcut::command));
}

void TestShortcut::encode_data()
{
    QTest::addColumn<Shortcut>("shortcut");
    QTest::addColumn<QByteArray>("expected");
    QTest::newRow("modifier only")
        << Shortcut(Shortcut::fn | Shortcut::control) << QByteArray(R"({"modifiers":8650752})");
    QTest::newRow("with key") << Shortcut(Shortcut::option | Shortcut::command, 2,
                                          QStringLiteral("D"))
                              << QByteArray(R"({"keyCode":2,"keyLabel":"D","modifiers":1572864})");
    QTest::newRow("empty label kept")
        << Shortcut(0, 0, QString()) << QByteArray(R"({"keyCode":0,"keyLabel":"","modifiers":0})");
}

void TestShortcut::encode()
{
    QFETCH(Shortcut, shortcut);
    QFETCH(QByteArray, expected);
    const QJsonObject encoded = shortcut.encode();
    QCOMPARE(QJsonDocument(encoded).toJson(QJsonDocument::Compact), expected);
    QCOMPARE(Shortcut::decode(encoded), std::optional(shortcut));
}

void TestShortcut::decodeAccepts_data()
{
    QTest::addColumn<QJsonValue>("value");
    QTest::addColumn<Shortcut>("expected");
    QTest::newRow("unknown key ignored")
        << json(R"({"modifiers":8388608,"future":[1,2]})") << Shortcut(Shortcut::fn);
    QTest::newRow("null key fields are absent")
        << json(R"({"modifiers":8388608,"keyCode":null,"keyLabel":null})")
        << Shortcut(Shortcut::fn);
    QTest::newRow("integral double") << json(R"({"modifiers":1572864.0,"keyCode":2.0})")
                                     << Shortcut(Shortcut::option | Shortcut::command, 2);
}

void TestShortcut::decodeAccepts()
{
    QFETCH(QJsonValue, value);
    QFETCH(Shortcut, expected);
    QCOMPARE(Shortcut::decode(value), std::optional(expected));
}

void TestShortcut::decodeRejects_data()
{
    QTest::addColumn<QJsonValue>("value");
    QTest::newRow("missing modifiers") << json(R"({"keyCode":2})");
    QTest::newRow("null modifiers") << json(R"({"modifiers":null})");
    QTest::newRow("modifiers as string") << json(R"({"modifiers":"8388608"})");
    QTest::newRow("negative modifiers") << json(R"({"modifiers":-1})");
    QTest::newRow("fractional modifiers") << json(R"({"modifiers":1.5})");
    QTest::newRow("modifiers as bool") << json(R"({"modifiers":true})");
    QTest::newRow("keyCode as string") << json(R"({"modifiers":0,"keyCode":"2"})");
    QTest::newRow("fractional keyCode") << json(R"({"modifiers":0,"keyCode":2.5})");
    QTest::newRow("keyCode beyond int") << json(R"({"modifiers":0,"keyCode":4294967296})");
    QTest::newRow("keyLabel as number") << json(R"({"modifiers":0,"keyLabel":4})");
    QTest::newRow("array") << json(R"([{"modifiers":0}])");
    QTest::newRow("string") << QJsonValue(QStringLiteral("fn+control"));
    QTest::newRow("undefined") << QJsonValue(QJsonValue::Undefined);
}

void TestShortcut::decodeRejects()
{
    QFETCH(QJsonValue, value);
    QCOMPARE(Shortcut::decode(value), std::nullopt);
}

void TestShortcut::defaultsPerCaptureMode()
{
    QCOMPARE(defaultShortcut(CaptureMode::paste), Shortcut(Shortcut::fn));
    QCOMPARE(defaultShortcut(CaptureMode::ask), Shortcut(Shortcut::fn | Shortcut::control));
    QCOMPARE(defaultShortcut(CaptureMode::screen),
             Shortcut(Shortcut::fn | Shortcut::control | Shortcut::option));
}

QTEST_GUILESS_MAIN(TestShortcut)
#include "TestShortcut.moc"
