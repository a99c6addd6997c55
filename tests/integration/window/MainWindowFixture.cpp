#include "MainWindowFixture.h"

#include "platform/linux/FnKey.h"
#include "ui/ConnectionsModel.h"
#include "ui/QmlStores.h"
#include "ui/SidebarNavigation.h"

#include <QCoro/QCoroTask>
#include <QDir>
#include <QJsonArray>
#include <QQuickItem>
#include <QQuickWindow>
#include <QTest>

namespace {

QJsonObject entry(const QString &id, const QString &date, const QString &kind, const QString &text)
{
    return {{"id", id}, {"date", date}, {"kind", kind}, {"text", text}};
}

QJsonObject task(const QString &id, const QString &title, const QJsonValue &project, bool done)
{
    return {{"id", id},
            {"title", title},
            {"project", project},
            {"done", done},
            {"date", "2026-11-20T09:00:00Z"},
            {"description", ""}};
}

QJsonObject memory(const QString &id, const QString &text, const QJsonArray &projects)
{
    return {{"id", id},
            {"text", text},
            {"category", "fact"},
            {"tier", "long"},
            {"source", "chat"},
            {"projects", projects},
            {"date", "2026-11-19T08:00:00Z"}};
}

void collectTexts(QQuickItem *item, QStringList &texts)
{
    if (!item || !item->isVisible())
        return;
    const QVariant text = item->property("text");
    if (text.isValid() && !text.toString().isEmpty())
        texts << text.toString();
    for (QQuickItem *child : item->childItems())
        collectTexts(child, texts);
}

} // namespace

MainWindowFixture::MainWindowFixture()
{
    scriptBackend();
}

MainWindowFixture::~MainWindowFixture()
{
    mainWindow.reset();
    QmlStores::use<Backend>(nullptr);
    QmlStores::use<AuthStore>(nullptr);
    QmlStores::use<HistoryStore>(nullptr);
    QmlStores::use<DictionaryStore>(nullptr);
    QmlStores::use<MeetingStore>(nullptr);
    QmlStores::use<AssistantStore>(nullptr);
    QmlStores::use<SettingsStore>(nullptr);
    QmlStores::use<MeetingRecorder>(nullptr);
    ConnectionsModel::setDefaultScheduler(nullptr);
}

void MainWindowFixture::scriptBackend()
{
    const QJsonObject user{{"id", "u1"},
                           {"email", "ada@example.com"},
                           {"name", "Ada Lovelace"},
                           {"picture", ""},
                           {"provider", "email"}};
    server.on("GET", "/auth/me").json({{"user", user}});
    server.on("GET", "/auth/config").json({{"google", false}});
    server.on("GET", "/health").json({{"ok", true}});

    server.on("GET", "/history?scope=transcripts")
        .json({{"entries", QJsonArray{entry("t3", "2026-11-21T16:42:00Z", "dictation",
                                            "Let's move the design review to Thursday afternoon."),
                                      entry("t2", "2026-11-21T10:05:00Z", "dictation",
                                            "Thanks for the quick turnaround on the invoice."),
                                      entry("t1", "2026-11-20T08:30:00Z", "dictation",
                                            "Remember to water the plants before leaving.")}}});
    server.on("GET", "/history?scope=chat")
        .json({{"entries", QJsonArray{entry("c2", "2026-11-21T12:01:00Z", "answer",
                                            "The capital of Australia is Canberra."),
                                      entry("c1", "2026-11-21T12:00:00Z", "question",
                                            "What is the capital of Australia?")}}});
    server.on("DELETE", "/history").json({{"ok", true}});

    server.on("GET", "/dictionary")
        .json(
            {{"terms", QJsonArray{QJsonObject{{"id", "d1"},
                                              {"term", "Kubernetes"},
                                              {"variants", QJsonArray{"cooper netties"}}},
                                  QJsonObject{{"id", "d2"},
                                              {"term", "Siobhan"},
                                              {"variants", QJsonArray{"shivawn", "chevonne"}}}}}});
    server.on("GET", "/meetings")
        .json({{"meetings",
                QJsonArray{
                    QJsonObject{
                        {"id", "m1"},
                        {"title", "Weekly product sync"},
                        {"transcript", "We agreed to ship the beta on Friday."},
                        {"segments", QJsonArray{QJsonObject{{"speaker", "Speaker 1"},
                                                            {"text", "Shall we ship on Friday?"}},
                                                QJsonObject{{"speaker", "Speaker 2"},
                                                            {"text", "Yes, the beta is ready."}}}},
                        {"notes", "- Beta ships Friday\n- Ada writes the release notes"},
                        {"durationSec", 1860},
                        {"date", "2026-11-21T15:00:00Z"}},
                    QJsonObject{{"id", "m2"},
                                {"title", "Quick call"},
                                {"transcript", ""},
                                {"notes", ""},
                                {"durationSec", 42},
                                {"date", "2026-11-19T11:00:00Z"}}}}});
    server.on("GET", "/tasks")
        .json({{"tasks", QJsonArray{task("k1", "Draft the launch email", "p1", false),
                                    task("k2", "Fix the footer links", "p1", true),
                                    task("k3", "Book the dentist", QJsonValue(), false)}}});
    server.on("GET", "/reminders")
        .json({{"reminders", QJsonArray{QJsonObject{{"id", "r1"},
                                                    {"title", "Call the bank"},
                                                    {"dueAt", "2026-11-24T14:30:00Z"},
                                                    {"fired", false},
                                                    {"date", "2026-11-20T09:00:00Z"},
                                                    {"description", ""}}}}});
    server.on("GET", "/memories")
        .json({{"memories", QJsonArray{memory("e1", "Prefers meetings after 10 am.", {}),
                                       memory("e2", "The site launches in December.", {"p1"})}}});
    server.on("GET", "/projects")
        .json({{"projects", QJsonArray{QJsonObject{{"id", "p1"},
                                                   {"name", "Website relaunch"},
                                                   {"aliases", QJsonArray{"site"}},
                                                   {"summary", "The new marketing site."}},
                                       QJsonObject{{"id", "p2"},
                                                   {"name", "Garden"},
                                                   {"aliases", QJsonArray{}},
                                                   {"summary", ""}}}}});
    server.on("GET", "/connections")
        .json({{"apps", QJsonArray{QJsonObject{
                            {"slug", "calendar"}, {"label", "Calendar"}, {"connected", true}}}}});
    server.on("POST", "/connections/email/connect")
        .json({{"redirectUrl", "https://provider.example/consent"}});

    // Home, Settings, Console and Connections pages. The home page checks the backend when
    // it appears: it stays offline until a test brings it up.
    server.on("DELETE", "/connections/calendar").json({{"ok", true}});
    health.reachable = false;
}

bool MainWindowFixture::start()
{
    if (!server.listen() || !dir.isValid())
        return false;
    backend = std::make_unique<Backend>(server.baseURL(), &clock);
    auth = std::make_unique<AuthStore>(*backend, keychain);
    backend->setTokenProvider(auth.get());
    history = std::make_unique<HistoryStore>(*backend, clock);
    dictionary = std::make_unique<DictionaryStore>(*backend);
    meetings = std::make_unique<MeetingStore>(*backend, dir.filePath("recordings"));
    assistant = std::make_unique<AssistantStore>(*backend);
    settings = std::make_unique<SettingsStore>(dir.filePath("settings.json"));
    recorder = std::make_unique<MeetingRecorder>(*meetings, clock, scheduler, dir.path());
    QmlStores::use(backend.get());
    QmlStores::use(auth.get());
    QmlStores::use(history.get());
    QmlStores::use(dictionary.get());
    QmlStores::use(meetings.get());
    QmlStores::use(assistant.get());
    QmlStores::use(settings.get());
    QmlStores::use(recorder.get());
    ConnectionsModel::setDefaultScheduler(&scheduler);
    ConnectionsModel::setUrlOpener([this](const QUrl &url) {
        openedUrls << url;
        return true;
    });

    defaults = std::make_unique<QSettings>(dir.filePath("defaults.ini"), QSettings::IniFormat);
    launchAtLogin = std::make_unique<LaunchAtLoginManager>(loginItem, *defaults);
    model = std::make_unique<AppModel>(clock, permissions, health, *launchAtLogin, systemLog);
    // The names the application gives the default shortcuts with the default fn key.
    const Settings initial;
    model->nameShortcuts(initial.pushToTalkKey, initial.askKey, initial.screenKey,
                         FnKey::shared().label());

    keychain.items.insert(QString::fromLatin1(AuthStore::keychainKey), QStringLiteral("token"));
    QCoro::waitFor(auth->restore());
    if (!auth->signedIn())
        return false;

    mainWindow = std::make_unique<MainWindow>();
    mainWindow->show();
    return window() && QTest::qWaitForWindowExposed(window());
}

QQuickWindow *MainWindowFixture::window() const
{
    return mainWindow ? mainWindow->window() : nullptr;
}

QQuickItem *MainWindowFixture::page() const
{
    auto *loader = window() ? window()->findChild<QQuickItem *>("pageLoader") : nullptr;
    return loader ? loader->property("item").value<QQuickItem *>() : nullptr;
}

QQuickItem *MainWindowFixture::showPage(int id)
{
    model->setSelectedTab(id);
    const QString identity = QStringLiteral("page-") + SidebarNavigation::pageIdentity(id);
    (void)QTest::qWaitFor([&] { return page() && page()->objectName() == identity; }, 5000);
    QTest::qWait(50); // one more frame for bindings that follow the store's answers
    return page() && page()->objectName() == identity ? page() : nullptr;
}

QQuickItem *MainWindowFixture::findText(QQuickItem *root, const QString &text)
{
    if (!root || !root->isVisible())
        return nullptr;
    if (root->property("text").toString() == text)
        return root;
    for (QQuickItem *child : root->childItems()) {
        if (QQuickItem *found = findText(child, text))
            return found;
    }
    return nullptr;
}

QQuickItem *MainWindowFixture::findItem(QQuickItem *root, const QString &objectName)
{
    if (!root)
        return nullptr;
    if (root->objectName() == objectName)
        return root;
    for (QQuickItem *child : root->childItems()) {
        if (QQuickItem *found = findItem(child, objectName))
            return found;
    }
    return nullptr;
}

QStringList MainWindowFixture::visibleTexts(QQuickItem *root)
{
    QStringList texts;
    collectTexts(root, texts);
    return texts;
}

void MainWindowFixture::saveScreenshot(const QString &name) const
{
    const QString artifacts = QStringLiteral(TEST_ARTIFACT_DIR);
    QDir().mkpath(artifacts);
    window()->grabWindow().save(artifacts + QLatin1Char('/') + name + QStringLiteral(".png"));
}
