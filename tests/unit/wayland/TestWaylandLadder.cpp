// The choice of a way for each function from what a Wayland session offers.
#include "platform/wayland/WaylandLadder.h"

#include <QTest>

using L = WaylandLadder;

namespace {

L::Facts sway()
{
    L::Facts facts;
    facts.desktop = L::Desktop::wlroots;
    facts.protocols = {QStringLiteral("zwp_virtual_keyboard_manager_v1"),
                       QStringLiteral("zwlr_data_control_manager_v1"),
                       QStringLiteral("zwlr_screencopy_manager_v1")};
    facts.wlClipboardTools = true;
    facts.grim = true;
    return facts;
}

L::Facts gnome()
{
    L::Facts facts;
    facts.desktop = L::Desktop::gnome;
    facts.portalRemoteDesktop = true;
    facts.portalScreenshot = true;
    facts.wlClipboardTools = true;
    return facts;
}

const DesktopRung &rung(const L::Choice &choice, const QString &function)
{
    for (const DesktopRung &rung : choice.rungs)
        if (rung.function == function)
            return rung;
    static const DesktopRung none;
    return none;
}

} // namespace

class TestWaylandLadder : public QObject
{
    Q_OBJECT
private Q_SLOTS:
    void session()
    {
        QProcessEnvironment environment;
        QVERIFY(!L::isWaylandSession(environment));
        environment.insert(QStringLiteral("XDG_SESSION_TYPE"), QStringLiteral("x11"));
        QVERIFY(!L::isWaylandSession(environment));
        environment.insert(QStringLiteral("WAYLAND_DISPLAY"), QStringLiteral("wayland-0"));
        QVERIFY(L::isWaylandSession(environment));
        environment.remove(QStringLiteral("WAYLAND_DISPLAY"));
        environment.insert(QStringLiteral("XDG_SESSION_TYPE"), QStringLiteral("wayland"));
        QVERIFY(L::isWaylandSession(environment));

        const auto desktop = [](const char *names) {
            QProcessEnvironment environment;
            environment.insert(QStringLiteral("XDG_CURRENT_DESKTOP"), QLatin1String(names));
            return L::desktopOf(environment);
        };
        QCOMPARE(desktop("KDE"), L::Desktop::kde);
        QCOMPARE(desktop("ubuntu:GNOME"), L::Desktop::gnome);
        QCOMPARE(desktop("sway"), L::Desktop::wlroots);
        QCOMPARE(desktop("Hyprland"), L::Desktop::wlroots);
        QCOMPARE(desktop("X-Cinnamon"), L::Desktop::other);
        QCOMPARE(desktop(""), L::Desktop::other);
    }

    void hotkeys()
    {
        // The kernel's keyboards beat the services: only they give Right Ctrl alone.
        L::Facts facts = sway();
        facts.kglobalaccel = facts.portalGlobalShortcuts = facts.evdevReadable = true;
        QCOMPARE(L::choose(facts).hotkeys, L::Hotkeys::evdev);
        QVERIFY(rung(L::choose(facts), QStringLiteral("Hotkeys")).advice.isEmpty());
        facts.evdevReadable = false;
        QCOMPARE(L::choose(facts).hotkeys, L::Hotkeys::kglobalaccel);
        QVERIFY(rung(L::choose(facts), QStringLiteral("Hotkeys"))
                    .advice.contains(QLatin1String(L::inputGroupCommand)));
        facts.kglobalaccel = false;
        QCOMPARE(L::choose(facts).hotkeys, L::Hotkeys::portal);

        // Nothing sees keys: the command the desktop's bindings run, with what to do.
        facts.portalGlobalShortcuts = false;
        const L::Choice choice = L::choose(facts);
        QCOMPARE(choice.hotkeys, L::Hotkeys::commandOnly);
        const DesktopRung &keys = rung(choice, QStringLiteral("Hotkeys"));
        QVERIFY(!keys.working);
        QVERIFY(keys.advice.contains(QLatin1String(L::inputGroupCommand)));
        QVERIFY2(keys.advice.contains(QStringLiteral("bindsym")), qPrintable(keys.advice));
        facts.desktop = L::Desktop::gnome;
        QVERIFY(!rung(L::choose(facts), QStringLiteral("Hotkeys"))
                     .advice.contains(QStringLiteral("bindsym")));
    }

    void paste()
    {
        L::Facts facts = sway();
        facts.uinputWritable = true;
        facts.portalRemoteDesktop = true;
        QCOMPARE(L::choose(facts).paste, L::Paste::uinput);
        facts.uinputWritable = false;
        QCOMPARE(L::choose(facts).paste, L::Paste::virtualKeyboard);
        // GNOME and KDE have no virtual keyboard protocol: the portal, asked once.
        QCOMPARE(L::choose(gnome()).paste, L::Paste::remoteDesktop);
        QVERIFY(!rung(L::choose(gnome()), QStringLiteral("Paste")).advice.isEmpty());

        L::Facts bare = gnome();
        bare.portalRemoteDesktop = false;
        const L::Choice choice = L::choose(bare);
        QCOMPARE(choice.paste, L::Paste::clipboardOnly);
        QVERIFY(!rung(choice, QStringLiteral("Paste")).working);
        QVERIFY(rung(choice, QStringLiteral("Paste")).rung.contains(QStringLiteral("Ctrl+V")));
    }

    void clipboardAndScreenshots()
    {
        QCOMPARE(L::choose(sway()).clipboard, L::Clipboard::dataControl);
        QCOMPARE(L::choose(sway()).screenshots, L::Screenshots::screencopy);

        // Data control offered but the tools missing: XWayland, and say what to install.
        L::Facts facts = sway();
        facts.wlClipboardTools = false;
        facts.grim = false;
        L::Choice choice = L::choose(facts);
        QCOMPARE(choice.clipboard, L::Clipboard::xwayland);
        QVERIFY(rung(choice, QStringLiteral("Clipboard"))
                    .advice.contains(QStringLiteral("wl-clipboard")));
        QCOMPARE(choice.screenshots, L::Screenshots::none);
        QVERIFY(
            rung(choice, QStringLiteral("Screenshots")).advice.contains(QStringLiteral("grim")));

        // GNOME: no data control, the portal for pictures.
        choice = L::choose(gnome());
        QCOMPARE(choice.clipboard, L::Clipboard::xwayland);
        QVERIFY(rung(choice, QStringLiteral("Clipboard")).advice.isEmpty());
        QCOMPARE(choice.screenshots, L::Screenshots::portal);
        L::Facts nothing = gnome();
        nothing.portalScreenshot = false;
        QVERIFY(!rung(L::choose(nothing), QStringLiteral("Screenshots")).working);
    }

    void everyFunctionHasARow()
    {
        const QStringList functions{"Hotkeys", "Paste", "Clipboard", "Floating panels",
                                    "Screenshots"};
        for (const L::Facts &facts : {sway(), gnome(), L::Facts{}}) {
            QStringList listed;
            for (const DesktopRung &rung : L::choose(facts).rungs) {
                listed << rung.function;
                QVERIFY(!rung.rung.isEmpty());
                QVERIFY2(rung.working || !rung.advice.isEmpty(), qPrintable(rung.function));
            }
            QCOMPARE(listed, functions);
        }
    }
};

QTEST_GUILESS_MAIN(TestWaylandLadder)
#include "TestWaylandLadder.moc"
