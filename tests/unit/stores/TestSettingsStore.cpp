// The settings file: forgiving load, sorted atomic save, one change notice per save.
#include "stores/SettingsStore.h"

#include <QJsonDocument>
#include <QSignalSpy>
#include <QTemporaryDir>
#include <QTest>

class TestSettingsStore : public QObject
{
    Q_OBJECT

    QTemporaryDir m_dir;

    QString fileWith(const QByteArray &bytes)
    {
        const QString path = m_dir.filePath(QStringLiteral("Ovrin/settings.json"));
        QDir().mkpath(m_dir.filePath("Ovrin"));
        QFile file(path);
        if (file.open(QIODevice::WriteOnly | QIODevice::Truncate))
            file.write(bytes);
        return path;
    }

private Q_SLOTS:
    void loading_data()
    {
        QTest::addColumn<QByteArray>("file");
        QTest::addColumn<Settings>("expected");
        const Settings defaults;
        Settings optionCommand;
        optionCommand.pushToTalkKey = Shortcut(Shortcut::option | Shortcut::command);
        Settings mic;
        mic.micUID = QStringLiteral("abc");
        Settings modern;
        modern.askKey = Shortcut(Shortcut::control | Shortcut::shift, 49, QStringLiteral("Space"));
        modern.theme = AppTheme::dark;
        modern.pasteAutomatically = false;
        modern.includeComputerAudio = false;

        QTest::newRow("legacy string")
            << QByteArray(R"({"pushToTalkKey":"option+command"})") << optionCommand;
        QTest::newRow("unknown legacy") << QByteArray(R"({"pushToTalkKey":"hyper"})") << defaults;
        QTest::newRow("number") << QByteArray(R"({"pushToTalkKey":5})") << defaults;
        QTest::newRow("wrong type kept default")
            << QByteArray(R"({"cleanupEnabled":"yes","micUID":"abc","theme":"sepia",
                              "includeComputerAudio":"no"})")
            << mic;
        QTest::newRow("current form")
            << QByteArray(R"({"askKey":{"modifiers":393216,"keyCode":49,"keyLabel":"Space"},
                              "theme":"dark","pasteAutomatically":false,"extra":1,
                              "includeComputerAudio":false})")
            << modern;
        QTest::newRow("array") << QByteArray("[1,2]") << defaults;
        QTest::newRow("truncated") << QByteArray(R"({"cleanupEnabled":tr)") << defaults;
        QTest::newRow("binary") << QByteArray("\x00\xff\xfe{\x01", 5) << defaults;
    }

    void loading()
    {
        QFETCH(QByteArray, file);
        QFETCH(Settings, expected);
        const QString path = fileWith(file);
        SettingsStore store(path);
        QCOMPARE(store.current(), expected);
        // Loading never writes, not even to repair the file.
        QFile written(path);
        QVERIFY(written.open(QIODevice::ReadOnly));
        QCOMPARE(written.readAll(), file);
    }

    void missingFileGivesDefaults()
    {
        QTemporaryDir dir;
        const QString path = dir.filePath("deep/Ovrin/settings.json");
        SettingsStore store(path);
        QCOMPARE(store.current(), Settings());
        QCOMPARE(store.current().pushToTalkKey, Shortcut(Shortcut::fn));
        QCOMPARE(store.current().screenKey,
                 Shortcut(Shortcut::fn | Shortcut::control | Shortcut::option));
        QVERIFY(QFileInfo(dir.filePath("deep/Ovrin")).isDir());
        QVERIFY(!QFile::exists(path));
    }

    void saveWritesSortedKeysAndNotifiesOnce()
    {
        QTemporaryDir dir;
        const QString path = dir.filePath("Ovrin/settings.json");
        SettingsStore store(path);
        QSignalSpy changed(&store, &SettingsStore::changed);
        Settings settings;
        settings.cleanupEnabled = true;
        settings.theme = AppTheme::light;
        settings.screenKey = Shortcut(Shortcut::command, 96, QStringLiteral("F5"));

        store.save(settings);
        QCOMPARE(changed.count(), 1);
        QCOMPARE(store.current(), settings);
        QFile file(path);
        QVERIFY(file.open(QIODevice::ReadOnly));
        const QByteArray bytes = file.readAll();
        QCOMPARE(QJsonDocument::fromJson(bytes).object().keys(),
                 (QStringList{"askKey", "cleanupEnabled", "includeComputerAudio", "micUID",
                              "pasteAutomatically", "pushToTalkKey", "restoreClipboard",
                              "screenKey", "theme", "warmMicrophone"}));
        QVERIFY(bytes.contains("\n    \"askKey\": {")); // indented
        QCOMPARE(SettingsStore(path).current(), settings);
    }

    void failedWriteStillTakesEffect()
    {
        QTemporaryDir dir;
        const QString blocked = dir.filePath("file");
        QFile(blocked).open(QIODevice::WriteOnly);
        SettingsStore store(blocked + "/Ovrin/settings.json"); // its folder can't exist
        QSignalSpy changed(&store, &SettingsStore::changed);
        Settings settings;
        settings.micUID = QStringLiteral("usb-mic");
        store.save(settings);
        QCOMPARE(store.current().micUID, QStringLiteral("usb-mic"));
        QCOMPARE(changed.count(), 1);
    }
};

QTEST_GUILESS_MAIN(TestSettingsStore)
#include "TestSettingsStore.moc"
