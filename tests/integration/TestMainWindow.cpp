// The main window on the test desktop against a fake backend: the sidebar, every page with
// its texts and its store's data, and a screenshot of every page in both themes.
#include "ui/MainWindowState.h"
#include "ui/SidebarNavigation.h"
#include "ui/ThemeStore.h"
#include "window/MainWindowFixture.h"

#include <QPointer>
#include <QQuickItem>
#include <QQuickWindow>
#include <QTest>

class TestMainWindow : public QObject
{
    Q_OBJECT

    MainWindowFixture m_rig;

private Q_SLOTS:
    void initTestCase() { QVERIFY(m_rig.start()); }

    void sidebarListsTheSectionsInOrder()
    {
        QQuickItem *root = m_rig.window()->contentItem();
        m_rig.health.reachable = false;
        m_rig.model->refreshPermissions();
        QTRY_VERIFY(MainWindowFixture::findText(root, "Backend offline"));
        for (const char *text :
             {"Ovrin", "Voice assistant", "Voice", "Workspace", "System", "Ready"})
            VERIFY_TEXT(root, text);
        for (const SidebarNavSection &section : SidebarNavigation::sections()) {
            for (const SidebarNavItem &item : section.items)
                QVERIFY(MainWindowFixture::findItem(root, "nav-" + QString::number(item.id)));
        }
    }

    void statusAndBackendFollowTheModel()
    {
        QQuickItem *root = m_rig.window()->contentItem();
        auto status = [&] {
            return MainWindowFixture::findItem(root, "activityStatus")->property("text").toString();
        };
        QCOMPARE(status(), QStringLiteral("Ready"));
        m_rig.model->setHotkeyIsDown(true);
        QCOMPARE(status(), QStringLiteral("Key held"));
        m_rig.model->setActivity(Activity::recording);
        QCOMPARE(status(), QStringLiteral("Listening…"));
        m_rig.model->setActivity(Activity::transcribing);
        QCOMPARE(status(), QStringLiteral("Transcribing…"));
        m_rig.model->setHotkeyIsDown(false);
        m_rig.model->setActivity(Activity::idle);
        QCOMPARE(status(), QStringLiteral("Ready"));

        QVERIFY(MainWindowFixture::findText(root, "Backend offline"));
        m_rig.health.reachable = true;
        m_rig.model->refreshPermissions();
        QTRY_VERIFY(MainWindowFixture::findText(root, "Backend online"));
    }

    // Chat is the transcripts' page type with its own scope, built afresh.
    void chatTabShowsAFreshChatPage()
    {
        QQuickItem *transcripts = m_rig.showPage(SidebarNavigation::transcripts);
        QVERIFY(transcripts);
        QCOMPARE(transcripts->property("scope").toString(), QStringLiteral("transcripts"));
        const QPointer<QQuickItem> previous(transcripts);
        QQuickItem *chat = m_rig.showPage(SidebarNavigation::chat);
        QVERIFY(chat);
        QCOMPARE(chat->objectName(), QStringLiteral("page-history-chat"));
        QCOMPARE(chat->property("scope").toString(), QStringLiteral("chat"));
        QTRY_VERIFY(!previous); // the transcript page is gone, not reused
        QVERIFY(MainWindowFixture::findItem(m_rig.window()->contentItem(), "nav-4")
                    ->property("selected")
                    .toBool());
    }

    void sidebarClicksAndKeysSelectPages()
    {
        QQuickItem *root = m_rig.window()->contentItem();
        QQuickItem *meetings = MainWindowFixture::findItem(root, "nav-5");
        QVERIFY(meetings);
        const QPointF centre =
            meetings->mapToScene(QPointF(meetings->width() / 2, meetings->height() / 2));
        QTest::mouseClick(m_rig.window(), Qt::LeftButton, {}, centre.toPoint());
        QTRY_COMPARE(m_rig.model->selectedTab(), int(SidebarNavigation::meetings));

        QQuickItem *list = MainWindowFixture::findItem(root, "sidebarList");
        list->forceActiveFocus();
        QTest::keyClick(m_rig.window(), Qt::Key_Down);
        QTRY_COMPARE(m_rig.model->selectedTab(), int(SidebarNavigation::dictionary));
        QTest::keyClick(m_rig.window(), Qt::Key_Up);
        QTest::keyClick(m_rig.window(), Qt::Key_Up);
        QTRY_COMPARE(m_rig.model->selectedTab(), int(SidebarNavigation::chat));
    }

    // Every page in both themes, for the eye.
    void screenshotsOfEveryPage()
    {
        for (const AppTheme theme : {AppTheme::light, AppTheme::dark}) {
            ThemeStore::shared().setPreference(theme);
            for (int id = 0; id < 12; ++id) {
                QVERIFY2(m_rig.showPage(id), qPrintable(SidebarNavigation::pageIdentity(id)));
                QTest::qWait(150);
                m_rig.saveScreenshot(
                    QStringLiteral("page-%1-%2")
                        .arg(SidebarNavigation::pageIdentity(id), appThemeName(theme)));
            }
        }
        ThemeStore::shared().setPreference(AppTheme::system);
    }

    // With a tray the window hides; without one it only minimizes, as the panel is then the
    // only way back.
    void hideMenuItemHidesTheWindow()
    {
        QQuickWindow *window = m_rig.window();
        QObject *hide = window->findChild<QObject *>("hideAction");
        QVERIFY(hide);
        QCOMPARE(hide->property("text").toString(), QStringLiteral("Hide Ovrin"));
        MainWindowState::shared().setTrayMissing(true);
        QMetaObject::invokeMethod(hide, "trigger");
        QTRY_COMPARE(window->visibility(), QWindow::Minimized);
        MainWindowState::shared().setTrayMissing(false);
        window->showNormal();
        QTRY_VERIFY(window->isVisible());
        QMetaObject::invokeMethod(hide, "trigger");
        QTRY_VERIFY(!window->isVisible());
        window->show();
        QTRY_VERIFY(window->isExposed());
    }

    // Last: signing out leaves the rig on the login page.
    void signingOutShowsTheLoginPage()
    {
        QQuickItem *settings = m_rig.showPage(SidebarNavigation::settings);
        QQuickItem *signOut = MainWindowFixture::findText(settings, "Sign Out");
        QVERIFY(signOut);
        QMetaObject::invokeMethod(signOut, "clicked");
        QQuickItem *root = m_rig.window()->contentItem();
        QTRY_VERIFY(MainWindowFixture::findItem(root, "emailField"));
        QVERIFY(!MainWindowFixture::findItem(root, "sidebarList"));
        QVERIFY(MainWindowFixture::findText(root, "Sign in to Ovrin"));
        m_rig.saveScreenshot("page-login");
    }
};

QTEST_MAIN(TestMainWindow)
#include "TestMainWindow.moc"
