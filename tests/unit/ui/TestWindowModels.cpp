// The window's small models: navigation, status, formats, the microphone choice, the
// settings the pages write and the theme they follow.
#include "stores/SettingsStore.h"
#include "ui/Formats.h"
#include "ui/MainWindowState.h"
#include "ui/MicrophoneList.h"
#include "ui/SettingsModel.h"
#include "ui/SidebarNavigation.h"
#include "ui/ThemeStore.h"

#include <QFile>
#include <QJsonDocument>
#include <QSet>
#include <QSignalSpy>
#include <QTemporaryDir>
#include <QTest>
#include <QTimeZone>

namespace {

struct FakeScheme : ColorSchemeSource
{
    Scheme current() const override { return scheme; }
    Scheme scheme = Scheme::noPreference;
};

QString uidOf(const QVariant &option)
{
    return option.toMap().value("uid").toString();
}

QString labelOf(const QVariant &option)
{
    return option.toMap().value("label").toString();
}

} // namespace

class TestWindowModels : public QObject
{
    Q_OBJECT
private Q_SLOTS:
    void everyPageOnceInItsSection()
    {
        QStringList titles;
        QSet<int> ids;
        QStringList sectionTitles;
        for (const SidebarNavSection &section : SidebarNavigation::sections()) {
            sectionTitles << section.title;
            for (const SidebarNavItem &item : section.items) {
                titles << item.title;
                ids.insert(item.id);
                QCOMPARE(SidebarNavigation::title(item.id), item.title);
            }
        }
        QCOMPARE(sectionTitles, (QStringList{"", "Voice", "Workspace", "System"}));
        QCOMPARE(titles, (QStringList{"Home", "Transcripts", "Chat", "Meetings", "Dictionary",
                                      "Projects", "Connections", "Tasks", "Reminders", "Memory",
                                      "Console", "Settings"}));
        QCOMPARE(ids.size(), 12);
        QSet<QString> identities;
        for (int id = 0; id < 12; ++id)
            identities.insert(SidebarNavigation::pageIdentity(id));
        QCOMPARE(identities.size(), 12);
        QCOMPARE(SidebarNavigation::pageIdentity(2), QStringLiteral("history-transcripts"));
        QCOMPARE(SidebarNavigation::pageIdentity(4), QStringLiteral("history-chat"));
        QCOMPARE(SidebarNavigation::pageSource(2), SidebarNavigation::pageSource(4));
        // An id from a newer or broken caller shows Home rather than nothing.
        QCOMPARE(SidebarNavigation::pageIdentity(12), QStringLiteral("home"));
        QCOMPARE(SidebarNavigation::pageIdentity(-1), QStringLiteral("home"));
    }

    void statusFollowsActivityAndKey()
    {
        QCOMPARE(SidebarNavigation::statusText(1, false), QStringLiteral("Listening…"));
        QCOMPARE(SidebarNavigation::statusText(1, true), QStringLiteral("Listening…"));
        QCOMPARE(SidebarNavigation::statusText(2, true), QStringLiteral("Transcribing…"));
        QCOMPARE(SidebarNavigation::statusText(0, true), QStringLiteral("Key held"));
        QCOMPARE(SidebarNavigation::statusText(0, false), QStringLiteral("Ready"));
    }

    void formatsAreEnglishWhateverTheLocale()
    {
        const QLocale saved;
        QLocale::setDefault(QLocale(QLocale::German, QLocale::Germany));
        const QDateTime due(QDate(2026, 3, 5), QTime(14, 30), Qt::LocalTime);
        QCOMPARE(Formats::dueDate(due), QStringLiteral("Mar 5, 2026 at 14:30"));
        QCOMPARE(Formats::day(due), QStringLiteral("Mar 5, 2026"));
        QCOMPARE(Formats::dueDate(QDateTime()), QString());
        // A UTC date shows in local time.
        const QDateTime utc = due.toUTC();
        QCOMPARE(Formats::dueDate(utc), QStringLiteral("Mar 5, 2026 at 14:30"));
        QLocale::setDefault(saved);

        QCOMPARE(Formats::duration(7), QStringLiteral("0:07"));
        QCOMPARE(Formats::duration(765.9), QStringLiteral("12:45"));
        QCOMPARE(Formats::duration(3723), QStringLiteral("1:02:03"));
        QCOMPARE(Formats::duration(-3), QStringLiteral("0:00"));
        QCOMPARE(Formats::duration(qQNaN()), QStringLiteral("0:00"));
    }

    void microphoneChoiceKeepsAnUnpluggedDevice()
    {
        const QList<MicDevice> devices{{{}, "usb-1", "USB Microphone"},
                                       {{}, "builtin", "Built-in Audio"}};
        QVariantList options = MicrophoneList::optionsFor(devices, QString());
        QCOMPARE(options.size(), 3);
        QCOMPARE(labelOf(options[0]), QStringLiteral("System Default"));
        QCOMPARE(uidOf(options[0]), QString());
        QCOMPARE(labelOf(options[1]), QStringLiteral("USB Microphone"));

        QCOMPARE(MicrophoneList::optionsFor(devices, "builtin").size(), 3);

        options = MicrophoneList::optionsFor(devices, "headset-9");
        QCOMPARE(options.size(), 4);
        QCOMPARE(labelOf(options.last()), QStringLiteral("Saved device (disconnected)"));
        QCOMPARE(uidOf(options.last()), QStringLiteral("headset-9"));
        QVERIFY(options.last().toMap().value("disconnected").toBool());

        // With the real sound server's list: the saved uid is always selectable.
        MicrophoneList list;
        list.setSavedUID("headset-9");
        QCOMPARE(uidOf(list.options().value(list.selectedIndex())), QStringLiteral("headset-9"));
        list.setSavedUID(QString());
        QCOMPARE(list.selectedIndex(), 0);
    }

    void backendCommandNamesTheServerBesideTheApp()
    {
        QTemporaryDir dir;
        QCOMPARE(MainWindowState::backendCommandIn(dir.path()), QStringLiteral("ovrin-server"));
        QFile server(dir.filePath("ovrin-server"));
        QVERIFY(server.open(QIODevice::WriteOnly));
        server.close();
        QCOMPARE(MainWindowState::backendCommandIn(dir.path()), QStringLiteral("ovrin-server"));
        server.setPermissions(server.permissions() | QFileDevice::ExeOwner);
        QCOMPARE(MainWindowState::backendCommandIn(dir.path()),
                 QStringLiteral("cd %1 && ./ovrin-server").arg(dir.path()));
    }

    void settingsModelSavesEachChangeOnce()
    {
        QTemporaryDir dir;
        SettingsStore store(dir.filePath("settings.json"));
        ThemeStore &theme = ThemeStore::shared();
        theme.follow(store);
        SettingsModel model(store);
        QSignalSpy saved(&store, &SettingsStore::changed);
        QSignalSpy changed(&model, &SettingsModel::changed);

        model.setCleanupEnabled(true);
        model.setCleanupEnabled(true); // unchanged: no second write
        QCOMPARE(saved.count(), 1);
        QCOMPARE(changed.count(), 1);
        QVERIFY(store.current().cleanupEnabled);

        model.setTheme("dark");
        QVERIFY(theme.dark());
        QCOMPARE(model.theme(), QStringLiteral("dark"));
        model.setTheme("sepia"); // not a theme: nothing changes
        QCOMPARE(model.theme(), QStringLiteral("dark"));
        QCOMPARE(saved.count(), 2);

        model.setMicUID("usb-1");
        model.setPushToTalkKey(QJsonObject{{"modifiers", 0x80000 | 0x100000}});
        model.setAskKey(QJsonObject{{"nonsense", true}}); // no shortcut: ignored
        QCOMPARE(saved.count(), 4);

        QFile file(store.fileURL());
        QVERIFY(file.open(QIODevice::ReadOnly));
        const QJsonObject written = QJsonDocument::fromJson(file.readAll()).object();
        QCOMPARE(written.value("micUID").toString(), QStringLiteral("usb-1"));
        QCOMPARE(written.value("theme").toString(), QStringLiteral("dark"));
        QCOMPARE(written.value("pushToTalkKey").toObject().value("modifiers").toInt(),
                 0x80000 | 0x100000);
        QCOMPARE(model.askKey(), Settings().askKey.encode());
        theme.setPreference(AppTheme::system);
    }

    void themeFollowsTheDesktopOnlyForSystem()
    {
        ThemeStore &theme = ThemeStore::shared();
        FakeScheme desktop;
        desktop.scheme = ColorSchemeSource::Scheme::dark;
        theme.setPreference(AppTheme::system);
        theme.setColorSchemeSource(&desktop);
        QVERIFY(theme.dark());
        QVERIFY(theme.systemKnown());

        QSignalSpy changed(&theme, &ThemeStore::changed);
        Q_EMIT desktop.schemeChanged(ColorSchemeSource::Scheme::light);
        QVERIFY(!theme.dark());
        QCOMPARE(changed.count(), 1);
        Q_EMIT desktop.schemeChanged(ColorSchemeSource::Scheme::light);
        QCOMPARE(changed.count(), 1);

        theme.setPreference(AppTheme::dark);
        QVERIFY(theme.dark());
        Q_EMIT desktop.schemeChanged(ColorSchemeSource::Scheme::light);
        QVERIFY(theme.dark());
        theme.setPreference(AppTheme::light);
        Q_EMIT desktop.schemeChanged(ColorSchemeSource::Scheme::dark);
        QVERIFY(!theme.dark());

        // No desktop preference: light.
        theme.setPreference(AppTheme::system);
        Q_EMIT desktop.schemeChanged(ColorSchemeSource::Scheme::noPreference);
        QVERIFY(!theme.dark());
        QVERIFY(!theme.systemKnown());
        theme.setColorSchemeSource(nullptr);
    }
};

QTEST_MAIN(TestWindowModels)
#include "TestWindowModels.moc"
