// The key that acts as fn: only a known key is taken, and the choice is kept with the user
// defaults it was given; the key table that shortcuts are stored in maps both ways.
#include "platform/linux/FnKey.h"
#include "platform/linux/KeyCodeTable.h"

#include <QSettings>
#include <QSignalSpy>
#include <QTemporaryDir>
#include <QTest>

#include <X11/keysym.h>

class TestFnKey : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void onlyAChoiceIsTaken()
    {
        FnKey &fnKey = FnKey::shared();
        QCOMPARE(fnKey.key(), fnKey.choices().first());
        QSignalSpy changed(&fnKey, &FnKey::keyChanged);
        fnKey.setKey(QStringLiteral("Hyper_L"));
        QCOMPARE(fnKey.key(), QStringLiteral("Control_R"));
        fnKey.setKey(QStringLiteral("Alt_R"));
        QCOMPARE(fnKey.label(), QStringLiteral("Right Alt"));
        QCOMPARE(FnKey::labelOf(QStringLiteral("Hyper_L")), QStringLiteral("Hyper_L"));
        QCOMPARE(changed.count(), 1);
        fnKey.setKey(QStringLiteral("Control_R"));
    }

    void keptWithTheUserDefaults()
    {
        QTemporaryDir dir;
        QSettings defaults(dir.filePath("defaults.ini"), QSettings::IniFormat);
        defaults.setValue("fnKey", "Super_R");
        FnKey &fnKey = FnKey::shared();
        fnKey.keepIn(&defaults);
        QCOMPARE(fnKey.key(), QStringLiteral("Super_R"));
        fnKey.setKey(QStringLiteral("Menu"));
        QCOMPARE(defaults.value("fnKey").toString(), QStringLiteral("Menu"));

        // Without a place to keep it, a choice lasts for this run only.
        fnKey.keepIn(nullptr);
        fnKey.setKey(QStringLiteral("Control_R"));
        QCOMPARE(defaults.value("fnKey").toString(), QStringLiteral("Menu"));
    }

    void keyTableBothWays()
    {
        for (int code : {0, 2, 36, 49, 53, 76, 83, 96, 106, 114, 123, 126})
            QCOMPARE(KeyCodeTable::fromKeysym(KeyCodeTable::toKeysym(code)), code);
        QCOMPARE(KeyCodeTable::fromKeysym(XK_D), 2);       // upper case from some layouts
        QCOMPARE(KeyCodeTable::fromKeysym(XK_KP_End), 83); // keypad 1 with Num Lock off
        QCOMPARE(KeyCodeTable::fromKeysym(XK_Help), 114);
        QCOMPARE(KeyCodeTable::fromKeysym(XK_Insert), 114);
        QCOMPARE(KeyCodeTable::fromKeysym(XK_Scroll_Lock), -1);
    }
};

QTEST_GUILESS_MAIN(TestFnKey)
#include "TestFnKey.moc"
