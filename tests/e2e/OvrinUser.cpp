#include "OvrinUser.h"

#include <QRegularExpression>
#include <QTest>

namespace {

// The sidebar is the window's left column; pages draw right of it.
constexpr int sidebarWidth = 216;

} // namespace

OvrinUser::OvrinUser(OvrinProcess &ovrin, TestDesktop &desktop, VirtualMicrophone &microphone)
    : m_ovrin(ovrin), m_desktop(desktop), m_microphone(microphone), m_screen(ovrin.pid())
{}

bool OvrinUser::fail(const QString &what, qsizetype logFrom)
{
    m_failure = what + QStringLiteral("\nlog:\n") + m_ovrin.logSince(logFrom);
    return false;
}

bool OvrinUser::holdAndSay(const QStringList &keys, const QString &startedLog,
                           const QString &sentence)
{
    const qsizetype from = m_ovrin.mark();
    for (const QString &key : keys)
        m_desktop.press(key.toLatin1().constData());
    // Chords engage after a short debounce; the microphone must be open before speech.
    const bool started = m_ovrin.waitForLog(startedLog, 5000, from);
    if (started) {
        QTest::qWait(300);
        if (sentence.isEmpty())
            QTest::qWait(1000);
        else if (!m_microphone.say(sentence))
            m_failure = QStringLiteral("flite or paplay failed");
        QTest::qWait(300);
    }
    for (auto key = keys.crbegin(); key != keys.crend(); ++key)
        m_desktop.release(key->toLatin1().constData());
    if (!started)
        return fail(QStringLiteral("no \"%1\" after pressing %2").arg(startedLog, keys.join(u'+')),
                    from);
    if (!m_ovrin.waitForLog(QStringLiteral("Sending to backend"), 5000, from))
        return fail(QStringLiteral("the recording was not sent"), from);
    return true;
}

QString OvrinUser::dictate(const QString &sentence)
{
    const qsizetype from = m_ovrin.mark();
    if (!holdAndSay({QStringLiteral("Control_R")}, QStringLiteral("● Recording started"), sentence))
        return {};
    if (!m_ovrin.waitForLog(QStringLiteral("✓ Transcript: "), 15000, from)) {
        fail(QStringLiteral("no transcript"), from);
        return {};
    }
    static const QRegularExpression line(QStringLiteral("✓ Transcript: \"(.*)\"$"));
    for (const QString &entry : m_ovrin.log().mid(from))
        if (const auto match = line.match(entry); match.hasMatch())
            return match.captured(1);
    return {};
}

bool OvrinUser::openPage(const QString &title)
{
    const auto item = m_screen.waitFor(
        [&](const AccessibleNode &node) {
            return node.role == u"label" && node.name == title && node.rect.x() < sidebarWidth;
        },
        5000);
    if (!item)
        return fail(QStringLiteral("no sidebar item \"%1\"").arg(title), m_ovrin.mark());
    m_desktop.click(item->center());
    const auto heading = m_screen.waitFor(
        [&](const AccessibleNode &node) {
            return node.name == title && node.rect.x() > sidebarWidth;
        },
        5000);
    return heading ? true
                   : fail(QStringLiteral("page \"%1\" did not open").arg(title), m_ovrin.mark());
}

bool OvrinUser::chooseTrayItem(int downs, const QString &screenshot)
{
    const QPoint icon = m_desktop.trayIcon(QStringLiteral("ovrin"));
    if (icon.isNull())
        return fail(QStringLiteral("no tray icon"), m_ovrin.mark());
    m_desktop.click(icon, 3);
    // The menu grabs the keyboard once it is mapped.
    QTest::qWait(600);
    if (!screenshot.isEmpty())
        m_desktop.saveScreenshot(screenshot);
    for (int i = 0; i < downs; ++i)
        m_desktop.tap("Down");
    m_desktop.tap("Return");
    QTest::qWait(200);
    return true;
}
