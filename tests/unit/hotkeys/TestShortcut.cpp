#include "hotkeys/Shortcut.h"

#include <QJsonArray>
#include <QJsonDocument>
#include <QTest>

using S = Shortcut;
constexpr Shortcut::Flags capsLock = 0x10000;
constexpr Shortcut::Flags allModifiers = S::command | S::shift | S::option | S::control | S::fn;

class TestShortcut : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void displayName_data()
    {
        QTest::addColumn<Shortcut>("shortcut");
        QTest::addColumn<QString>("fnKey");
        QTest::addColumn<QString>("expected");
        QTest::newRow("fixed order") << S(allModifiers, 2, "D") << "Menu"
                                     << "Menu+Ctrl+Alt+Shift+Super+D";
        QTest::newRow("combination") << S(S::control | S::option, 2, "D") << "Right Ctrl"
                                     << "Ctrl+Alt+D";
        QTest::newRow("fn alone") << S(S::fn) << "Right Ctrl"
                                  << "Right Ctrl";
        // The other key of the fn key's pair is the one meant.
        QTest::newRow("fn with its pair") << S(S::fn | S::control | S::option) << "Right Ctrl"
                                          << "Right Ctrl+Left Ctrl+Alt";
        QTest::newRow("fn on Right Super") << S(S::fn | S::command | S::control) << "Right Super"
                                           << "Right Super+Ctrl+Left Super";
        QTest::newRow("pair without fn") << S(S::control) << "Right Ctrl"
                                         << "Ctrl";
        QTest::newRow("nothing") << S() << "Right Ctrl"
                                 << "None";
        QTest::newRow("label only") << S(0, 96, "F5") << "Right Ctrl"
                                    << "F5";
        QTest::newRow("empty label") << S(S::option, 49, QString()) << "Right Ctrl"
                                     << "Alt";
        QTest::newRow("caps lock not shown") << S(S::command | capsLock) << "Right Ctrl"
                                             << "Super";
        // Labels a settings file may hold from before keys were named the PC way.
        QTest::newRow("older arrow label") << S(S::shift | S::command, 123, "←") << "Right Ctrl"
                                           << "Shift+Super+Left";
        QTest::newRow("older return label") << S(S::control, 36, "↩") << "Right Ctrl"
                                            << "Ctrl+Enter";
    }

    void displayName()
    {
        QFETCH(Shortcut, shortcut);
        QFETCH(QString, fnKey);
        QFETCH(QString, expected);
        QCOMPARE(shortcut.displayName(fnKey), expected);
    }

    void doubleTapNamesTheFnKey()
    {
        QCOMPARE(Shortcut::doubleTapName(QStringLiteral("Right Alt")),
                 QStringLiteral("Right Alt ×2"));
    }

    void legacy_data()
    {
        QTest::addColumn<QString>("name");
        QTest::addColumn<Shortcut>("expected");
        const std::pair<const char *, Shortcut::Flags> known[] = {
            {"fn", S::fn},
            {"option", S::option},
            {"command", S::command},
            {"control", S::control},
            {"fn+control", S::fn | S::control},
            {"fn+control+option", S::fn | S::control | S::option},
            {"option+command", S::option | S::command},
            {"control+option", S::control | S::option},
            {"control+command", S::control | S::command},
            {"command+shift", S::command | S::shift}};
        for (const auto &[name, modifiers] : known)
            QTest::newRow(name) << QString(name) << S(modifiers);
        for (const char *unknown : {"", "shift", "fn+option", "Control", "fn + control"})
            QTest::addRow("unknown '%s'", unknown) << unknown << S(S::fn);
    }

    void legacy()
    {
        QFETCH(QString, name);
        QFETCH(Shortcut, expected);
        QCOMPARE(Shortcut::legacy(name), expected);
    }

    void equality()
    {
        QVERIFY(S(S::command, 2, "D") != S(S::command, 2, "d"));
        QVERIFY(S(S::command, 2, "D") != S(S::command, 2));
        QVERIFY(S(S::command) != S(S::command, 0));
        QVERIFY(S(S::command | capsLock) != S(S::command));
    }

    void encode()
    {
        QCOMPARE(S(S::fn | S::control).encode(), QJsonObject({{"modifiers", 8650752}}));
        QCOMPARE(S(S::option | S::command, 2, "D").encode(),
                 QJsonObject({{"keyCode", 2}, {"keyLabel", "D"}, {"modifiers", 1572864}}));
    }

    void decode_data()
    {
        QTest::addColumn<QByteArray>("json");
        QTest::addColumn<std::optional<Shortcut>>("expected");
        auto row = [](const char *name, const char *json, std::optional<Shortcut> expected = {}) {
            QTest::newRow(name) << QByteArray(json) << expected;
        };
        row("extra key ignored", R"({"modifiers":8388608,"future":[1,2]})", S(S::fn));
        row("null key fields are absent", R"({"modifiers":8388608,"keyCode":null,"keyLabel":null})",
            S(S::fn));
        row("integral doubles", R"({"modifiers":1572864.0,"keyCode":2.0,"keyLabel":"D"})",
            S(S::option | S::command, 2, "D"));
        row("missing modifiers", R"({"keyCode":2})");
        row("modifiers as string", R"({"modifiers":"8388608"})");
        row("negative modifiers", R"({"modifiers":-1})");
        row("fractional modifiers", R"({"modifiers":1.5})");
        row("keyCode as string", R"({"modifiers":0,"keyCode":"2"})");
        row("keyCode beyond int", R"({"modifiers":0,"keyCode":4294967296})");
        row("keyLabel as number", R"({"modifiers":0,"keyLabel":4})");
        row("string", R"("fn+control")");
    }

    void decode()
    {
        QFETCH(QByteArray, json);
        QFETCH(std::optional<Shortcut>, expected);
        QJsonParseError error;
        const QJsonValue value = QJsonDocument::fromJson("[" + json + "]", &error).array().first();
        QCOMPARE(error.error, QJsonParseError::NoError);
        QCOMPARE(Shortcut::decode(value), expected);
    }
};

QTEST_GUILESS_MAIN(TestShortcut)
#include "TestShortcut.moc"
