#include "platform/linux/XdgAutostartLoginItem.h"

#include <QFile>
#include <QTemporaryDir>
#include <QTest>

namespace {

const QString executable = QStringLiteral("/opt/My Apps/ovrin");

QString readAll(const QString &path)
{
    QFile file(path);
    if (!file.open(QIODevice::ReadOnly))
        return {};
    return QString::fromUtf8(file.readAll());
}

bool writeAll(const QString &path, const QByteArray &contents)
{
    QFile file(path);
    return file.open(QIODevice::WriteOnly) && file.write(contents) == contents.size();
}

} // namespace

class TestXdgAutostartLoginItem : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void enableWritesEntryAndDisableRemovesIt()
    {
        QTemporaryDir dir;
        QVERIFY(dir.isValid());
        // The folder does not exist yet on a fresh account.
        const QString autostart = dir.filePath(QStringLiteral("config/autostart"));
        XdgAutostartLoginItem item(autostart, executable);
        QCOMPARE(item.entryPath(), autostart + QStringLiteral("/com.ovrin.app.desktop"));
        QVERIFY(!item.isEnabled());

        QString error;
        QVERIFY2(item.setEnabled(true, error), qPrintable(error));
        QVERIFY(item.isEnabled());
        const QStringList lines = readAll(item.entryPath()).split(u'\n');
        QCOMPARE(lines.value(0), QStringLiteral("[Desktop Entry]"));
        QVERIFY(lines.contains(QStringLiteral("Type=Application")));
        QVERIFY(lines.contains(QStringLiteral("Name=Ovrin")));
        QVERIFY(lines.contains(QStringLiteral("Exec=\"/opt/My Apps/ovrin\"")));

        QVERIFY(item.setEnabled(false, error));
        QVERIFY(!QFile::exists(item.entryPath()));
        QVERIFY(!item.isEnabled());
        QVERIFY(item.setEnabled(false, error));
        QVERIFY(error.isEmpty());
    }

    void execLineQuotesAndEscapes_data()
    {
        QTest::addColumn<QString>("path");
        QTest::addColumn<QString>("line");
        QTest::newRow("plain") << "/usr/bin/ovrin"
                               << "Exec=/usr/bin/ovrin";
        QTest::newRow("space") << "/opt/My Apps/ovrin"
                               << "Exec=\"/opt/My Apps/ovrin\"";
        // Quoting escapes $ with a backslash, which the string-value layer doubles.
        QTest::newRow("dollar") << "/opt/a$b/ovrin"
                                << "Exec=\"/opt/a\\\\$b/ovrin\"";
        QTest::newRow("percent") << "/opt/100%/ovrin"
                                 << "Exec=/opt/100%%/ovrin";
    }

    void execLineQuotesAndEscapes()
    {
        QFETCH(QString, path);
        QFETCH(QString, line);
        QTemporaryDir dir;
        XdgAutostartLoginItem item(dir.path(), path);
        QString error;
        QVERIFY(item.setEnabled(true, error));
        QVERIFY2(readAll(item.entryPath()).split(u'\n').contains(line),
                 qPrintable(readAll(item.entryPath())));
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
        QVERIFY(dir.isValid());
        XdgAutostartLoginItem item(dir.path(), executable);
        QVERIFY(writeAll(item.entryPath(), "[Desktop Entry]\nType=Application\nName=Ovrin\n"
                                           "Exec=ovrin\n" +
                                               key + "\n"));
        QVERIFY(!item.isEnabled());

        QString error;
        QVERIFY(item.setEnabled(true, error));
        QVERIFY(item.isEnabled());
    }

    void enableFailsWhenFolderCannotBeCreated()
    {
        QTemporaryDir dir;
        QVERIFY(dir.isValid());
        const QString blocker = dir.filePath(QStringLiteral("config"));
        QVERIFY(writeAll(blocker, "not a folder"));
        XdgAutostartLoginItem item(blocker + QStringLiteral("/autostart"), executable);

        QString error;
        QVERIFY(!item.setEnabled(true, error));
        QVERIFY(!error.isEmpty());
        QVERIFY(!item.isEnabled());
        QCOMPARE(readAll(blocker), QStringLiteral("not a folder"));
    }
};

QTEST_GUILESS_MAIN(TestXdgAutostartLoginItem)
#include "TestXdgAutostartLoginItem.moc"
