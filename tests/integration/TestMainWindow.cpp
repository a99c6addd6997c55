// The main window on the test desktop against a fake backend: the sidebar, every page with
// its texts and its store's data, and a screenshot of every page in both themes.
#include "ui/SidebarNavigation.h"
#include "ui/ThemeStore.h"
#include "window/MainWindowFixture.h"

#include <QQuickItem>
#include <QQuickWindow>
#include <QTest>

#define VERIFY_TEXT(root, text)                                                                \
    QVERIFY2(MainWindowFixture::findText(root, text),                                         \
             qPrintable(QStringLiteral("missing \"%1\" among:\n").arg(text) +                 \
                        MainWindowFixture::visibleTexts(root).join('\n')))

class TestMainWindow : public QObject
{
    Q_OBJECT

    MainWindowFixture m_rig;

private Q_SLOTS:
    void initTestCase() { QVERIFY(m_rig.start()); }

    void sidebarListsTheSectionsInOrder()
    {
        QQuickItem *root = m_rig.window()->contentItem();
        for (const char *text : {"Ovrin", "Voice assistant", "Voice", "Workspace", "System",
                                    "Ready", "Backend offline"})
            VERIFY_TEXT(root, text);
        for (const SidebarNavSection &section : SidebarNavigation::sections()) {
            for (const SidebarNavItem &item : section.items)
                QVERIFY(MainWindowFixture::findItem(root, "nav-" + QString::number(item.id)));
        }
    }

    // Every page in both themes, for the eye.
    void screenshotsOfEveryPage()
    {
        for (const AppTheme theme : {AppTheme::light, AppTheme::dark}) {
            ThemeStore::shared().setPreference(theme);
            for (int id = 0; id < 12; ++id) {
                QVERIFY2(m_rig.showPage(id), qPrintable(SidebarNavigation::pageIdentity(id)));
                QTest::qWait(150);
                m_rig.saveScreenshot(QStringLiteral("page-%1-%2")
                                         .arg(SidebarNavigation::pageIdentity(id),
                                              appThemeName(theme)));
            }
        }
        ThemeStore::shared().setPreference(AppTheme::system);
    }
};

QTEST_MAIN(TestMainWindow)
#include "TestMainWindow.moc"
