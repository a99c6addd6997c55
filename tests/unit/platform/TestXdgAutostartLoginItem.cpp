#include "platform/linux/XdgAutostartLoginItem.h"

#include <QFile>
#include <QFileInfo>
#include <QTemporaryDir>
#include <QTest>

static bool writeAll(const QString &path, const QByteArray &contents)
{
    QFile file(path);
    return file.open(QIODevice::WriteOnly) && file.write(contents) == contents.size();
}

class TestXdgAutostartLoginItem : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void enableWritesEntryAndDisableRemovesIt_data()
    {
        QTest::addColumn<QString>("executable");
        QTest::addColumn<QString>("execValue");
        QTest::newRow("plain") << QStringLiteral("/usr/bin/ovrin") << "/usr/bin/ovrin";
        QTest::newRow("space") << QStringLiteral("/opt/My Apps/ovrin") << "\"/opt/My Apps/ovrin\"";
        // Quoting escapes $ with a backslash, which the string-value layer doubles.
        QTest::newRow("dollar") << QStringLiteral("/opt/a$b/ovrin") << "\"/opt/a\\\\$b/ovrin\"";
        QTest::newRow("percent") << QStringLiteral("/opt/100%/ovrin") << "/opt/100%%/ovrin";
    }

    void enableWritesEntryAndDisableRemovesIt()
    {
        QFETCH(QString, executable);
        QFETCH(QString, execValue);
        QTemporaryDir dir;
        // The folder does not exist yet on a fresh account.
        XdgAutostartLoginItem item(dir.filePath(QStringLiteral("config/autostart")), executable);
        QVERIFY(item.entryPath().endsWith(u"/config/autostart/com.ovrin.app.desktop"));

        QString error;
        QVERIFY2(item.setEnabled(true, error), qPrintable(error));
        QVERIFY(item.isEnabled());
        QFile file(item.entryPath());
        QVERIFY(file.open(QIODevice::ReadOnly));
        const QString entry = QString::fromUtf8(file.readAll());
        const QStringList lines = entry.split(u'\n');
        QCOMPARE(lines.value(0), QStringLiteral("[Desktop Entry]"));
        QVERIFY(lines.contains("Type=Application") && lines.contains("Name=Ovrin"));
        QVERIFY2(lines.contains("Exec=" + execValue), qPrintable(entry));

        QVERIFY(item.setEnabled(false, error));
        QVERIFY(!QFile::exists(item.entryPath()));
        QVERIFY(item.setEnabled(false, error) && error.isEmpty());
    }

    void entryDisabledByDesktop_data()
    {
        QTest::addColumn<QByteArray>("key");
        QTest::newRow("Hidden") << QByteArray("Hidden=true");
        QTest::newRow("GNOME switch") << QByteArray("X-GNOME-Autostart-enabled=false");
        QTest::newRow("spaced") << QByteArray("Hidden = true");
    }

    void entryDisabledByDesktop()
    {
        // Session managers switch an entry off in place instead of deleting it.
        QFETCH(QByteArray, key);
        QTemporaryDir dir;
        XdgAutostartLoginItem item(dir.path(), QStringLiteral("/usr/bin/ovrin"));
        QVERIFY(writeAll(item.entryPath(), "[Desktop Entry]\nExec=ovrin\n" + key));
        QVERIFY(!item.isEnabled());
        QString error;
        QVERIFY(item.setEnabled(true, error) && item.isEnabled());
    }

    void enableFailsWhenFolderCannotBeCreated()
    {
        QTemporaryDir dir;
        const QString blocker = dir.filePath(QStringLiteral("config"));
        QVERIFY(writeAll(blocker, "not a folder"));
        XdgAutostartLoginItem item(blocker + QStringLiteral("/autostart"),
                                   QStringLiteral("/usr/bin/ovrin"));
        QString error;
        QVERIFY(!item.setEnabled(true, error) && !error.isEmpty());
        QVERIFY(QFileInfo(blocker).isFile());
    }
};

QTEST_GUILESS_MAIN(TestXdgAutostartLoginItem)
#include "TestXdgAutostartLoginItem.moc"
