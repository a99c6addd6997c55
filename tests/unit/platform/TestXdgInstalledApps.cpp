#include "platform/linux/XdgInstalledApps.h"

#include <QDir>
#include <QFile>
#include <QTemporaryDir>
#include <QTest>

namespace {

bool writeFile(const QString &path, const QByteArray &contents)
{
    QDir().mkpath(QFileInfo(path).path());
    QFile file(path);
    return file.open(QIODevice::WriteOnly) && file.write(contents) == contents.size();
}

QByteArray entry(const QByteArray &name, const QByteArray &extra = {},
                 const QByteArray &exec = "true")
{
    return "[Desktop Entry]\nType=Application\nName=" + name + "\nExec=" + exec + "\n" + extra +
           "\n";
}

} // namespace

class TestXdgInstalledApps : public QObject
{
    Q_OBJECT

    QTemporaryDir m_root;
    QString m_home, m_first, m_second;
    QString m_launchLog;

    // A desktop entry whose program records its arguments, so a launch can be observed.
    QByteArray recordingEntry(const QByteArray &name, const QByteArray &extra = {})
    {
        return entry(name, extra, QFile::encodeName(m_root.filePath("stub.sh")) + " %c --flag");
    }
    QStringList launches()
    {
        QFile log(m_launchLog);
        if (!log.open(QIODevice::ReadOnly))
            return {};
        return QString::fromUtf8(log.readAll()).split(u'\n', Qt::SkipEmptyParts);
    }

private Q_SLOTS:
    void initTestCase()
    {
        QVERIFY(m_root.isValid());
        m_launchLog = m_root.filePath("launches.log");
        const QString stub = m_root.filePath("stub.sh");
        QVERIFY(
            writeFile(stub, "#!/bin/sh\necho \"$*\" >>'" + QFile::encodeName(m_launchLog) + "'\n"));
        QVERIFY(
            QFile::setPermissions(stub, QFile::ReadOwner | QFile::WriteOwner | QFile::ExeOwner));

        // A session of its own: user folder, then two system folders.
        qputenv("XDG_DATA_HOME", QFile::encodeName(m_root.filePath("home")));
        qputenv("XDG_DATA_DIRS",
                QFile::encodeName(m_root.filePath("first") + ":" + m_root.filePath("second/")));
        const QStringList dirs = XdgInstalledApps().dirs();
        QCOMPARE(dirs.mid(0, 3), (QStringList{m_root.filePath("home/applications"),
                                              m_root.filePath("first/applications"),
                                              m_root.filePath("second/applications")}));
        m_home = dirs[0];
        m_first = dirs[1];
        m_second = dirs[2];

        QVERIFY(writeFile(m_first + "/org.gnome.Files.desktop", entry("Files")));
        QVERIFY(writeFile(m_second + "/nautilus.desktop", entry("Files"))); // another ID
        QVERIFY(writeFile(m_second + "/zed.desktop", entry("Zed")));
        QVERIFY(writeFile(m_first + "/calc.desktop", recordingEntry("Calculator")));
        QVERIFY(writeFile(m_first + "/pro.desktop", recordingEntry("Text Editor Pro")));
        QVERIFY(writeFile(m_second + "/text.desktop", recordingEntry("Text Editor")));
        QVERIFY(writeFile(m_first + "/kde/konsole.desktop", entry("  Konsole  ")));
        QVERIFY(writeFile(m_first + "/fullwidth.desktop", entry("\xef\xbc\xa1pp"))); // U+FF21
        QVERIFY(writeFile(m_first + "/smile.desktop", entry("\xf0\x9f\x98\x80 Smile")));
        QVERIFY(writeFile(m_first + "/cafe.desktop", entry("café")));
        // Not applications for the user.
        QVERIFY(writeFile(m_first + "/helper.desktop", recordingEntry("Helper", "NoDisplay=true")));
        QVERIFY(writeFile(m_first + "/gone.desktop", entry("Gone", "Hidden=true")));
        QVERIFY(writeFile(m_first + "/link.desktop",
                          "[Desktop Entry]\nType=Link\nName=Website\nURL=https://x.invalid\n"));
        QVERIFY(writeFile(m_first + "/broken.desktop", "Name=Broken\n"));
        QVERIFY(writeFile(m_first + "/readme.txt", entry("Not An Entry")));
        // The user's copy hides the system entry of the same ID.
        QVERIFY(writeFile(m_second + "/player.desktop", entry("Player")));
        QVERIFY(writeFile(m_home + "/player.desktop", entry("Player", "Hidden=true")));
    }

    void environmentFolders()
    {
        QProcessEnvironment env;
        env.insert("HOME", "/home/u");
        QCOMPARE(XdgInstalledApps::applicationDirs(env),
                 (QStringList{"/home/u/.local/share/applications", "/usr/local/share/applications",
                              "/usr/share/applications",
                              "/home/u/.local/share/flatpak/exports/share/applications",
                              "/var/lib/flatpak/exports/share/applications"}));
        env.insert("XDG_DATA_HOME", "/data");
        env.insert("XDG_DATA_DIRS", "/a/::relative:/var/lib/flatpak/exports/share:/a");
        QCOMPARE(XdgInstalledApps::applicationDirs(env),
                 (QStringList{"/data/applications", "/a/applications",
                              "/var/lib/flatpak/exports/share/applications",
                              "/data/flatpak/exports/share/applications"}));
    }

    void namesOnceInCodePointOrder()
    {
        XdgInstalledApps apps({m_home, m_first, m_second});
        // Upper case before lower case; U+FF21 before U+1F600, which UTF-16 order swaps.
        QCOMPARE(apps.names(),
                 (QStringList{"Calculator", "Files", "Konsole", "Text Editor", "Text Editor Pro",
                              "Zed", "café", "\uFF21pp", QStringLiteral("😀 Smile")}));
        QCOMPARE(XdgInstalledApps({m_root.filePath("missing")}).names(), QStringList{});
    }

    void openLaunchesThroughTheEntry()
    {
        XdgInstalledApps apps({m_home, m_first, m_second});
        QVERIFY(!apps.open("   "));
        QVERIFY(!apps.open(""));
        QVERIFY(!apps.open("Helper")); // not shown, so not opened
        QVERIFY(!apps.open("Spreadsheet"));
        // The exact pass wins over an earlier entry that merely contains the name.
        QVERIFY(apps.open(" Text Editor\n"));
        QTRY_COMPARE(launches(), QStringList{"Text Editor --flag"});
        // Loose pass: the request within the entry's name, ignoring case.
        QVERIFY(apps.open("CALC"));
        QTRY_COMPARE(launches().value(1), QStringLiteral("Calculator --flag"));
        QVERIFY(apps.open("editor pro"));
        QTRY_COMPARE(launches().value(2), QStringLiteral("Text Editor Pro --flag"));
        // A whole name in other case is still the exact one.
        QVERIFY(apps.open("text editor"));
        QTRY_COMPARE(launches().value(3), QStringLiteral("Text Editor --flag"));
        QTest::qWait(100);
        QCOMPARE(launches().size(), 4);
    }
};

QTEST_GUILESS_MAIN(TestXdgInstalledApps)
#include "TestXdgInstalledApps.moc"
