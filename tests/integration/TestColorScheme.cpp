// The desktop's colour scheme through the settings portal on the test session's D-Bus: a
// fake portal owns the portal's name on a connection of its own, in a thread of its own, so
// every read and signal crosses the real bus.
#include "platform/linux/PortalColorScheme.h"
#include "support/TestEnvironment.h"
#include "ui/ThemeStore.h"

#include <QDBusConnection>
#include <QDBusContext>
#include <QDBusMessage>
#include <QDBusVariant>
#include <QMutex>
#include <QTest>
#include <QThread>
#include <QTimer>

#include <atomic>

using Scheme = ColorSchemeSource::Scheme;

namespace {

const QString portalService = QStringLiteral("org.freedesktop.portal.Desktop");
const QString portalPath = QStringLiteral("/org/freedesktop/portal/desktop");
const QString appearance = QStringLiteral("org.freedesktop.appearance");
const QString colorScheme = QStringLiteral("color-scheme");

QString nameOf(Scheme scheme)
{
    switch (scheme) {
    case Scheme::dark:
        return QStringLiteral("dark");
    case Scheme::light:
        return QStringLiteral("light");
    case Scheme::noPreference:
        break;
    }
    return QStringLiteral("none");
}

// Every line logged while it exists.
class CapturedLog
{
public:
    CapturedLog()
    {
        s_lines.clear();
        s_previous = qInstallMessageHandler(&CapturedLog::capture);
    }
    ~CapturedLog() { qInstallMessageHandler(s_previous); }
    QStringList lines() const
    {
        QMutexLocker lock(&s_mutex);
        return s_lines;
    }

private:
    static void capture(QtMsgType, const QMessageLogContext &, const QString &message)
    {
        QMutexLocker lock(&s_mutex);
        s_lines << message;
    }
    static inline QtMessageHandler s_previous = nullptr;
    static inline QMutex s_mutex;
    static inline QStringList s_lines;
};

} // namespace

// The portal's settings interface as a desktop with one colour scheme answers it.
class FakePortal : public QObject, protected QDBusContext
{
    Q_OBJECT
    Q_CLASSINFO("D-Bus Interface", "org.freedesktop.portal.Settings")
public:
    QVariant value = 0u;
    bool hasReadOne = true; // portals before version 2 have Read only
    int answerDelayMs = 0;
    std::atomic<int> answered = 0; // read by the test's thread

public Q_SLOTS:
    QDBusVariant ReadOne(const QString &settingNamespace, const QString &key)
    {
        if (!hasReadOne) {
            sendErrorReply(QDBusError::UnknownMethod, QStringLiteral("No such method ReadOne"));
            return {};
        }
        return answer(settingNamespace, key, QVariant(value));
    }
    QDBusVariant Read(const QString &settingNamespace, const QString &key)
    {
        return answer(settingNamespace, key, QVariant::fromValue(QDBusVariant(value)));
    }

Q_SIGNALS:
    void SettingChanged(const QString &settingNamespace, const QString &key,
                        const QDBusVariant &value);

private:
    QDBusVariant answer(const QString &settingNamespace, const QString &key, const QVariant &result)
    {
        if (settingNamespace != appearance || key != colorScheme) {
            sendErrorReply(QStringLiteral("org.freedesktop.portal.Error.NotFound"),
                           QStringLiteral("Requested setting not found"));
            return {};
        }
        if (answerDelayMs == 0) {
            ++answered;
            return QDBusVariant(result);
        }
        setDelayedReply(true);
        const QDBusMessage reply = message().createReply(QVariant::fromValue(QDBusVariant(result)));
        QDBusConnection bus = connection();
        QTimer::singleShot(answerDelayMs, this, [this, bus, reply] {
            bus.send(reply);
            ++answered;
        });
        return {};
    }
};

class TestColorScheme : public QObject
{
    Q_OBJECT

    QThread m_portalThread;
    FakePortal *m_portal = nullptr;
    QDBusConnection m_portalBus{QString()};

    // Runs `change` on the fake portal's own thread and waits for it.
    template <typename Change> void onPortal(Change change)
    {
        QMetaObject::invokeMethod(
            m_portal, [this, change] { change(*m_portal); }, Qt::BlockingQueuedConnection);
    }

    void publish(const QVariant &value, bool hasReadOne = true, int answerDelayMs = 0)
    {
        onPortal([=](FakePortal &portal) {
            portal.value = value;
            portal.hasReadOne = hasReadOne;
            portal.answerDelayMs = answerDelayMs;
        });
        QVERIFY2(m_portalBus.registerService(portalService),
                 qPrintable(m_portalBus.lastError().message()));
    }

    void desktopChanges(const QString &settingNamespace, const QString &key, const QVariant &value)
    {
        onPortal([=](FakePortal &portal) {
            Q_EMIT portal.SettingChanged(settingNamespace, key, QDBusVariant(value));
        });
    }

    // A call the fake answers after everything it has sent before.
    void roundTrip()
    {
        QDBusMessage call = QDBusMessage::createMethodCall(
            portalService, portalPath, QStringLiteral("org.freedesktop.portal.Settings"),
            QStringLiteral("Read"));
        call << appearance << colorScheme;
        QDBusConnection::sessionBus().call(call);
        QCoreApplication::processEvents();
    }

private Q_SLOTS:
    void initTestCase()
    {
        OVRIN_REQUIRE_SERVICE(QDBusConnection::sessionBus().isConnected(), "a D-Bus session bus");
        m_portalBus = QDBusConnection::connectToBus(QDBusConnection::SessionBus,
                                                    QStringLiteral("fake-portal"));
        QVERIFY(m_portalBus.isConnected());
        m_portal = new FakePortal;
        m_portal->moveToThread(&m_portalThread);
        m_portalThread.start();
        // From its own thread: the bus connection gives it helpers that must live there.
        bool registered = false;
        onPortal([&](FakePortal &portal) {
            registered = m_portalBus.registerObject(portalPath, &portal,
                                                    QDBusConnection::ExportAllSlots |
                                                        QDBusConnection::ExportAllSignals);
        });
        QVERIFY(registered);
    }

    void cleanup()
    {
        m_portalBus.unregisterService(portalService);
        ThemeStore::shared().setColorSchemeSource(nullptr);
        ThemeStore::shared().setPreference(AppTheme::system);
    }

    void cleanupTestCase()
    {
        if (!m_portal)
            return;
        onPortal([this](FakePortal &) { m_portalBus.unregisterObject(portalPath); });
        QDBusConnection::disconnectFromBus(QStringLiteral("fake-portal"));
        m_portal->deleteLater();
        m_portalThread.quit();
        m_portalThread.wait();
    }

    void firstReadGivesTheDesktopsScheme_data()
    {
        QTest::addColumn<QVariant>("value");
        QTest::addColumn<bool>("hasReadOne");
        QTest::addColumn<QString>("expected");
        QTest::addColumn<int>("loggedLines");
        QTest::newRow("prefers dark") << QVariant(1u) << true << "dark" << 0;
        QTest::newRow("prefers light") << QVariant(2u) << true << "light" << 0;
        QTest::newRow("no preference") << QVariant(0u) << true << "none" << 0;
        QTest::newRow("a value of a later desktop") << QVariant(7u) << true << "none" << 0;
        QTest::newRow("older portal, Read only") << QVariant(1u) << false << "dark" << 0;
        QTest::newRow("older portal, light") << QVariant(2u) << false << "light" << 0;
        // Said once, and the window is not left guessing.
        QTest::newRow("not a number") << QVariant(QStringLiteral("dark")) << true << "none" << 1;
    }

    void firstReadGivesTheDesktopsScheme()
    {
        QFETCH(QVariant, value);
        QFETCH(bool, hasReadOne);
        QFETCH(QString, expected);
        QFETCH(int, loggedLines);
        publish(value, hasReadOne);
        CapturedLog log;
        PortalColorScheme source;
        QCOMPARE(nameOf(source.current()), expected);
        QVERIFY2(log.lines().size() == loggedLines, qPrintable(log.lines().join('\n')));
    }

    void desktopChangesReachTheWindow()
    {
        publish(2u);
        PortalColorScheme source;
        QStringList heard;
        QObject::connect(&source, &ColorSchemeSource::schemeChanged,
                         [&heard](Scheme scheme) { heard << nameOf(scheme); });
        ThemeStore &theme = ThemeStore::shared();
        theme.setColorSchemeSource(&source);
        QVERIFY(theme.systemKnown());
        QVERIFY(!theme.dark());

        desktopChanges(appearance, colorScheme, 1u);
        QTRY_VERIFY(theme.dark());
        // Other settings, and a key of the same name elsewhere, are not the colour scheme.
        desktopChanges(appearance, QStringLiteral("contrast"), 2u);
        desktopChanges(QStringLiteral("org.gnome.desktop.interface"), colorScheme, 2u);
        desktopChanges(appearance, colorScheme, 0u);
        QTRY_COMPARE(heard, (QStringList{"dark", "none"}));
        QVERIFY(!theme.systemKnown());
        QVERIFY(!theme.dark());
        // A value that is no number states nothing.
        desktopChanges(appearance, colorScheme, 1u);
        desktopChanges(appearance, colorScheme, QStringLiteral("prefer-dark"));
        QTRY_COMPARE(heard, (QStringList{"dark", "none", "dark", "none"}));
    }

    void aChoiceInOvrinWinsOverTheDesktop()
    {
        publish(1u);
        PortalColorScheme source;
        ThemeStore &theme = ThemeStore::shared();
        theme.setColorSchemeSource(&source);
        QVERIFY(theme.dark());
        theme.setPreference(AppTheme::light);
        QVERIFY(!theme.dark());
        desktopChanges(appearance, colorScheme, 2u);
        QTRY_COMPARE(source.current(), Scheme::light);
        theme.setPreference(AppTheme::dark);
        QVERIFY(theme.dark());
        theme.setPreference(AppTheme::system);
        QVERIFY(!theme.dark());
    }

    // The window does not wait for a slow portal; its answer comes in later, unless the desktop
    // has changed since.
    void aSlowPortalIsHeardLater()
    {
        publish(1u, true, 300);
        CapturedLog log;
        PortalColorScheme source(QDBusConnection::sessionBus(), 50);
        QCOMPARE(source.current(), Scheme::noPreference);
        QStringList heard;
        QObject::connect(&source, &ColorSchemeSource::schemeChanged,
                         [&heard](Scheme scheme) { heard << nameOf(scheme); });
        QTRY_COMPARE(heard, QStringList{"dark"});
        QVERIFY2(log.lines().size() == 1, qPrintable(log.lines().join('\n')));

        const int answered = m_portal->answered;
        PortalColorScheme overtaken(QDBusConnection::sessionBus(), 50);
        desktopChanges(appearance, colorScheme, 2u);
        QTRY_COMPARE(overtaken.current(), Scheme::light);
        // The timed-out read and the one after it: the stale "dark" is on its way.
        QTRY_COMPARE(m_portal->answered.load(), answered + 2);
        roundTrip();
        QCOMPARE(overtaken.current(), Scheme::light);
    }

    void withoutAPortalThereIsNoPreference()
    {
        CapturedLog log;
        // Nothing owns the portal's name: the error is immediate, whatever the time-out.
        PortalColorScheme source(QDBusConnection::sessionBus(), 120000);
        QCOMPARE(source.current(), Scheme::noPreference);
        PortalColorScheme offTheBus(QDBusConnection(QStringLiteral("no-such-connection")));
        QCOMPARE(offTheBus.current(), Scheme::noPreference);
        QVERIFY2(log.lines().size() == 2, qPrintable(log.lines().join('\n'))); // one line each
        ThemeStore &theme = ThemeStore::shared();
        theme.setColorSchemeSource(&source);
        QVERIFY(!theme.systemKnown());
        QVERIFY(!theme.dark());

        // A portal that starts later is heard from then on.
        publish(2u);
        desktopChanges(appearance, colorScheme, 1u);
        QTRY_VERIFY(theme.dark());
    }
};

QTEST_GUILESS_MAIN(TestColorScheme)
#include "TestColorScheme.moc"
