#include "TestDesktop.h"

#include <QDir>
#include <QGuiApplication>
#include <QPixmap>
#include <QProcess>
#include <QRegularExpression>
#include <QScreen>
#include <QSize>
#include <QTest>

#include <X11/Xlib.h>
#include <X11/Xutil.h>
#include <X11/extensions/XTest.h>

#include <vector>

namespace {

QString windowId(const QString &title)
{
    QProcess search;
    search.start(QStringLiteral("xdotool"),
                 {QStringLiteral("search"), QStringLiteral("--name"),
                  QStringLiteral("^%1$").arg(QRegularExpression::escape(title))});
    search.waitForFinished(5000);
    return QString::fromLatin1(search.readAllStandardOutput()).split(u'\n').value(0).trimmed();
}

bool xdotool(const QStringList &arguments)
{
    return QProcess::execute(QStringLiteral("xdotool"), arguments) == 0;
}

// Depth-first search for a mapped window of class `windowClass` that is not a direct child
// of the root: the tray host embeds the icon inside its own windows.
Window findEmbedded(Display *display, Window window, const QByteArray &windowClass, int depth)
{
    Window root = 0, parent = 0, *children = nullptr;
    unsigned int count = 0;
    if (!XQueryTree(display, window, &root, &parent, &children, &count))
        return 0;
    const std::vector<Window> list(children, children + count);
    if (children)
        XFree(children);
    for (Window child : list) {
        if (depth > 0) {
            XClassHint hint{};
            if (XGetClassHint(display, child, &hint)) {
                const bool match = windowClass == hint.res_name;
                XFree(hint.res_name);
                XFree(hint.res_class);
                if (match)
                    return child;
            }
        }
        if (Window found = findEmbedded(display, child, windowClass, depth + 1))
            return found;
    }
    return 0;
}

} // namespace

TestDesktop::TestDesktop() : m_display(XOpenDisplay(nullptr)) {}

TestDesktop::~TestDesktop()
{
    if (m_display)
        XCloseDisplay(m_display);
}

void TestDesktop::click(QPoint at, int button)
{
    XTestFakeMotionEvent(m_display, -1, at.x(), at.y(), CurrentTime);
    XSync(m_display, False);
    QTest::qWait(50);
    XTestFakeButtonEvent(m_display, button, True, CurrentTime);
    XTestFakeButtonEvent(m_display, button, False, CurrentTime);
    XSync(m_display, False);
}

void TestDesktop::press(const char *keysym)
{
    m_keyboard.press(keysym);
}

void TestDesktop::release(const char *keysym)
{
    m_keyboard.release(keysym);
}

void TestDesktop::tap(const char *keysym)
{
    press(keysym);
    release(keysym);
    QTest::qWait(20);
}

void TestDesktop::chord(std::initializer_list<const char *> keysyms)
{
    for (const char *keysym : keysyms)
        press(keysym);
    for (auto it = std::rbegin(keysyms); it != std::rend(keysyms); ++it)
        release(*it);
    QTest::qWait(20);
}

void TestDesktop::type(const QString &text)
{
    xdotool({QStringLiteral("type"), QStringLiteral("--delay"), QStringLiteral("15"), text});
}

bool TestDesktop::focusWindow(const QString &title)
{
    const QString id = windowId(title);
    return !id.isEmpty() && xdotool({QStringLiteral("windowraise"), id}) &&
           xdotool({QStringLiteral("windowfocus"), QStringLiteral("--sync"), id});
}

bool TestDesktop::placeWindow(const QString &title, QPoint at, QSize size)
{
    const QString id = windowId(title);
    return !id.isEmpty() &&
           xdotool({QStringLiteral("windowmove"), QStringLiteral("--sync"), id,
                    QString::number(at.x()), QString::number(at.y())}) &&
           xdotool({QStringLiteral("windowsize"), QStringLiteral("--sync"), id,
                    QString::number(size.width()), QString::number(size.height())});
}

QPoint TestDesktop::trayIcon(const QString &windowClass) const
{
    const Window root = DefaultRootWindow(m_display);
    const Window icon = findEmbedded(m_display, root, windowClass.toLatin1(), 0);
    XWindowAttributes attributes{};
    if (!icon || !XGetWindowAttributes(m_display, icon, &attributes))
        return {};
    int x = 0, y = 0;
    Window child = 0;
    XTranslateCoordinates(m_display, icon, root, 0, 0, &x, &y, &child);
    return {x + attributes.width / 2, y + attributes.height / 2};
}

void TestDesktop::saveScreenshot(const QString &name) const
{
    QDir().mkpath(QStringLiteral(TEST_ARTIFACT_DIR));
    QGuiApplication::primaryScreen()->grabWindow(0).save(
        QStringLiteral(TEST_ARTIFACT_DIR "/e2e-%1.png").arg(name));
}
