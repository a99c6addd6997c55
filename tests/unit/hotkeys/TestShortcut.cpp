#include "hotkeys/CaptureMode.h"
#include "hotkeys/Shortcut.h"

#include <QJsonArray>
#include <QJsonDocument>
#include <QTest>

namespace {

constexpr Shortcut::Flags capsLock = 0x10000;

} // namespace

class TestShortcut : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void displayName_data()
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

    void displayName()
    {
        QFETCH(Shortcut, shortcut);
        QFETCH(QString, expected);
        QCOMPARE(shortcut.displayName(), expected);
    }

    void legacy_data()
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

    void legacy()
    {
        QFETCH(QString, name);
        QFETCH(quint64, modifiers);
        const Shortcut shortcut = Shortcut::legacy(name);
        QCOMPARE(shortcut, Shortcut(modifiers));
        QVERIFY(shortcut.isModifierOnly());
        QVERIFY(!shortcut.keyLabel);
    }

    void equality()
    {
        const Shortcut d(Shortcut::command, 2, QStringLiteral("D"));
        QVERIFY(d == Shortcut(Shortcut::command, 2, QStringLiteral("D")));
        QVERIFY(d != Shortcut(Shortcut::command, 2, QStringLiteral("d")));
        QVERIFY(d != Shortcut(Shortcut::command, 2));
        QVERIFY(Shortcut(Shortcut::command) != Shortcut(Shortcut::command, 0));
        QVERIFY(Shortcut(Shortcut::command | capsLock) != Shortcut(Shortcut::command));
    }

    void encode_data()
    {
        QTest::addColumn<Shortcut>("shortcut");
        QTest::addColumn<QByteArray>("expected");
        QTest::newRow("modifier only")
            << Shortcut(Shortcut::fn | Shortcut::control) << QByteArray(R"({"modifiers":8650752})");
        QTest::newRow("with key") << Shortcut(Shortcut::option | Shortcut::command, 2,
                                              QStringLiteral("D"))
                                  << QByteArray(
                                         R"({"keyCode":2,"keyLabel":"D","modifiers":1572864})");
    }

    void encode()
    {
        QFETCH(Shortcut, shortcut);
        QFETCH(QByteArray, expected);
        const QJsonObject encoded = shortcut.encode();
        QCOMPARE(QJsonDocument(encoded).toJson(QJsonDocument::Compact), expected);
        QCOMPARE(Shortcut::decode(encoded), std::optional(shortcut));
    }

    void decode_data()
    {
        QTest::addColumn<QByteArray>("json");
        QTest::addColumn<bool>("valid");
        QTest::addColumn<Shortcut>("expected");
        const Shortcut none;
        QTest::newRow("unknown key ignored")
            << QByteArray(R"({"modifiers":8388608,"future":[1,2]})") << true
            << Shortcut(Shortcut::fn);
        QTest::newRow("null key fields are absent")
            << QByteArray(R"({"modifiers":8388608,"keyCode":null,"keyLabel":null})") << true
            << Shortcut(Shortcut::fn);
        QTest::newRow("integral doubles")
            << QByteArray(R"({"modifiers":1572864.0,"keyCode":2.0})") << true
            << Shortcut(Shortcut::option | Shortcut::command, 2);
        QTest::newRow("missing modifiers") << QByteArray(R"({"keyCode":2})") << false << none;
        QTest::newRow("null modifiers") << QByteArray(R"({"modifiers":null})") << false << none;
        QTest::newRow("modifiers as string")
            << QByteArray(R"({"modifiers":"8388608"})") << false << none;
        QTest::newRow("negative modifiers") << QByteArray(R"({"modifiers":-1})") << false << none;
        QTest::newRow("fractional modifiers")
            << QByteArray(R"({"modifiers":1.5})") << false << none;
        QTest::newRow("modifiers as bool") << QByteArray(R"({"modifiers":true})") << false << none;
        QTest::newRow("keyCode as string")
            << QByteArray(R"({"modifiers":0,"keyCode":"2"})") << false << none;
        QTest::newRow("fractional keyCode")
            << QByteArray(R"({"modifiers":0,"keyCode":2.5})") << false << none;
        QTest::newRow("keyCode beyond int")
            << QByteArray(R"({"modifiers":0,"keyCode":4294967296})") << false << none;
        QTest::newRow("keyLabel as number")
            << QByteArray(R"({"modifiers":0,"keyLabel":4})") << false << none;
        QTest::newRow("array") << QByteArray(R"([{"modifiers":0}])") << false << none;
        QTest::newRow("string") << QByteArray(R"("fn+control")") << false << none;
    }

    void decode()
    {
        QFETCH(QByteArray, json);
        QFETCH(bool, valid);
        QFETCH(Shortcut, expected);
        QJsonParseError error;
        const QJsonValue value = QJsonDocument::fromJson("[" + json + "]", &error).array().first();
        QCOMPARE(error.error, QJsonParseError::NoError);
        QCOMPARE(Shortcut::decode(value), valid ? std::optional(expected) : std::nullopt);
    }

    void defaultsPerCaptureMode()
    {
        QCOMPARE(defaultShortcut(CaptureMode::paste), Shortcut(Shortcut::fn));
        QCOMPARE(defaultShortcut(CaptureMode::ask), Shortcut(Shortcut::fn | Shortcut::control));
        QCOMPARE(defaultShortcut(CaptureMode::screen),
                 Shortcut(Shortcut::fn | Shortcut::control | Shortcut::option));
    }
};

QTEST_GUILESS_MAIN(TestShortcut)
#include "TestShortcut.moc"
