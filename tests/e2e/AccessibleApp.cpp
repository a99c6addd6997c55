#include "AccessibleApp.h"

#include <QDeadlineTimer>
#include <QDebug>
#include <QTest>

#include <atspi/atspi.h>

namespace {

constexpr int maxDepth = 60;

QString takeString(gchar *chars)
{
    const QString text = QString::fromUtf8(chars ? chars : "");
    g_free(chars);
    return text;
}

bool isShowing(AtspiAccessible *node)
{
    AtspiStateSet *states = atspi_accessible_get_state_set(node);
    if (!states)
        return false;
    const bool showing = atspi_state_set_contains(states, ATSPI_STATE_SHOWING);
    g_object_unref(states);
    return showing;
}

QRect extents(AtspiAccessible *node)
{
    QRect rect;
    if (AtspiComponent *component = atspi_accessible_get_component_iface(node)) {
        if (AtspiRect *r =
                atspi_component_get_extents(component, ATSPI_COORD_TYPE_SCREEN, nullptr)) {
            rect = QRect(r->x, r->y, r->width, r->height);
            g_free(r);
        }
        g_object_unref(component);
    }
    return rect;
}

// Calls `visit` for every showing element below `node`; stops when it returns true, and
// then hands out the element that matched (a new reference).
AtspiAccessible *walk(AtspiAccessible *node, const QString &window, int depth,
                      const std::function<bool(const AccessibleNode &)> &visit)
{
    if (depth > maxDepth)
        return nullptr;
    const int count = atspi_accessible_get_child_count(node, nullptr);
    for (int i = 0; i < count; ++i) {
        AtspiAccessible *child = atspi_accessible_get_child_at_index(node, i, nullptr);
        if (!child)
            continue;
        AtspiAccessible *found = nullptr;
        if (isShowing(child)) {
            AccessibleNode info{window, takeString(atspi_accessible_get_role_name(child, nullptr)),
                                takeString(atspi_accessible_get_name(child, nullptr)),
                                extents(child)};
            if (visit(info))
                found = static_cast<AtspiAccessible *>(g_object_ref(child));
            else
                found = walk(child, window, depth + 1, visit);
        }
        g_object_unref(child);
        if (found)
            return found;
    }
    return nullptr;
}

// Walks every showing top-level frame of the application with process id `pid`.
AtspiAccessible *walkApp(qint64 pid, const std::function<bool(const AccessibleNode &)> &visit)
{
    static const bool ready = [] {
        const int status = atspi_init();
        atspi_set_timeout(2000, 5000);
        return status == 0 || status == 1;
    }();
    if (!ready)
        return nullptr;
    AtspiAccessible *desktop = atspi_get_desktop(0);
    if (!desktop)
        return nullptr;
    AtspiAccessible *found = nullptr;
    const int apps = atspi_accessible_get_child_count(desktop, nullptr);
    for (int a = 0; a < apps && !found; ++a) {
        AtspiAccessible *app = atspi_accessible_get_child_at_index(desktop, a, nullptr);
        if (!app)
            continue;
        if (qint64(atspi_accessible_get_process_id(app, nullptr)) == pid) {
            const int windows = atspi_accessible_get_child_count(app, nullptr);
            for (int w = 0; w < windows && !found; ++w) {
                AtspiAccessible *frame = atspi_accessible_get_child_at_index(app, w, nullptr);
                if (!frame)
                    continue;
                if (isShowing(frame))
                    found = walk(frame, takeString(atspi_accessible_get_name(frame, nullptr)), 0,
                                 visit);
                g_object_unref(frame);
            }
        }
        g_object_unref(app);
    }
    g_object_unref(desktop);
    return found;
}

} // namespace

AccessibleApp::AccessibleApp(qint64 pid) : m_pid(pid) {}

QList<AccessibleNode> AccessibleApp::nodes() const
{
    QList<AccessibleNode> all;
    walkApp(m_pid, [&](const AccessibleNode &node) {
        all.append(node);
        return false;
    });
    return all;
}

QStringList AccessibleApp::names() const
{
    QStringList names;
    for (const AccessibleNode &node : nodes())
        if (!node.name.isEmpty())
            names.append(node.name);
    return names;
}

std::optional<AccessibleNode> AccessibleApp::find(const QString &role, const QString &name) const
{
    for (const AccessibleNode &node : nodes())
        if (node.role == role && node.name == name)
            return node;
    return std::nullopt;
}

std::optional<AccessibleNode>
AccessibleApp::waitFor(const std::function<bool(const AccessibleNode &)> &match, int timeoutMs)
{
    const QDeadlineTimer deadline(timeoutMs);
    for (;;) {
        m_last = nodes();
        for (const AccessibleNode &node : std::as_const(m_last))
            if (match(node))
                return node;
        if (deadline.hasExpired()) {
            // QVERIFY2 cuts long messages: the whole screen goes to the test's output.
            qWarning().noquote() << "showing on screen:\n" + lastSnapshot();
            return std::nullopt;
        }
        QTest::qWait(100);
    }
}

std::optional<AccessibleNode> AccessibleApp::waitForName(const QString &name, int timeoutMs)
{
    return waitFor([&](const AccessibleNode &node) { return node.name == name; }, timeoutMs);
}

std::optional<AccessibleNode> AccessibleApp::waitForNameContaining(const QString &part,
                                                                   int timeoutMs)
{
    return waitFor([&](const AccessibleNode &node) { return node.name.contains(part); }, timeoutMs);
}

bool AccessibleApp::press(const QString &role, const QString &name)
{
    AtspiAccessible *node = walkApp(m_pid, [&](const AccessibleNode &candidate) {
        return candidate.role == role && candidate.name == name;
    });
    if (!node)
        return false;
    bool done = false;
    if (AtspiAction *action = atspi_accessible_get_action_iface(node)) {
        done = atspi_action_get_n_actions(action, nullptr) > 0 &&
               atspi_action_do_action(action, 0, nullptr);
        g_object_unref(action);
    }
    g_object_unref(node);
    return done;
}

QString AccessibleApp::lastSnapshot() const
{
    QStringList lines;
    for (const AccessibleNode &node : m_last)
        lines.append(QStringLiteral("[%1] %2 '%3'").arg(node.window, node.role, node.name));
    return lines.join(u'\n');
}
