#include "platform/linux/AtspiFocusedTextReader.h"

#include "platform/linux/AtspiTextElement.h"
#include "platform/linux/X11KeySynthesizer.h"

#include <atspi/atspi.h>
#include <unistd.h>

namespace {

// Bounds for the search of the focused element, so a huge document tree can't stall
// the capture.
constexpr int maxDepth = 40;
constexpr int maxNodes = 3000;

bool hasState(AtspiAccessible *accessible, AtspiStateType state)
{
    AtspiStateSet *states = atspi_accessible_get_state_set(accessible);
    if (!states)
        return false;
    const bool has = atspi_state_set_contains(states, state);
    g_object_unref(states);
    return has;
}

// Depth-first search for the element with keyboard focus; a new reference or null.
AtspiAccessible *findFocused(AtspiAccessible *node, int depth, int &visited)
{
    if (!node || depth > maxDepth || ++visited > maxNodes)
        return nullptr;
    if (hasState(node, ATSPI_STATE_FOCUSED))
        return static_cast<AtspiAccessible *>(g_object_ref(node));
    const int count = atspi_accessible_get_child_count(node, nullptr);
    for (int i = 0; i < count; ++i) {
        AtspiAccessible *child = atspi_accessible_get_child_at_index(node, i, nullptr);
        AtspiAccessible *found = findFocused(child, depth + 1, visited);
        if (child)
            g_object_unref(child);
        if (found)
            return found;
    }
    return nullptr;
}

AtspiAccessible *findFocusedElement()
{
    AtspiAccessible *desktop = atspi_get_desktop(0);
    if (!desktop)
        return nullptr;
    AtspiAccessible *focused = nullptr;
    const int apps = atspi_accessible_get_child_count(desktop, nullptr);
    for (int a = 0; a < apps && !focused; ++a) {
        AtspiAccessible *app = atspi_accessible_get_child_at_index(desktop, a, nullptr);
        if (!app)
            continue;
        // Asking ourselves would block on our own busy event loop; and our panels
        // never hold the user's selection.
        if (atspi_accessible_get_process_id(app, nullptr) == guint(getpid())) {
            g_object_unref(app);
            continue;
        }
        const int windows = atspi_accessible_get_child_count(app, nullptr);
        for (int w = 0; w < windows && !focused; ++w) {
            AtspiAccessible *window = atspi_accessible_get_child_at_index(app, w, nullptr);
            if (window && hasState(window, ATSPI_STATE_ACTIVE)) {
                int visited = 0;
                focused = findFocused(window, 0, visited);
            }
            if (window)
                g_object_unref(window);
        }
        g_object_unref(app);
    }
    g_object_unref(desktop);
    return focused;
}

} // namespace

AtspiFocusedTextReader::AtspiFocusedTextReader()
{
    // 0 and 1 both mean the library is usable (1: it already was).
    const int status = atspi_init();
    m_ready = status == 0 || status == 1;
    // A hung application must not hold the capture for the default 25 s.
    atspi_set_timeout(800, 3000);
}

std::optional<QString> AtspiFocusedTextReader::selectedText()
{
    if (!m_ready)
        return std::nullopt;
    AtspiAccessible *focused = findFocusedElement();
    if (!focused)
        return std::nullopt;
    std::optional<QString> result;
    if (AtspiText *text = atspi_accessible_get_text_iface(focused)) {
        if (atspi_text_get_n_selections(text, nullptr) > 0) {
            if (AtspiRange *range = atspi_text_get_selection(text, 0, nullptr)) {
                if (range->end_offset > range->start_offset) {
                    gchar *chars =
                        atspi_text_get_text(text, range->start_offset, range->end_offset, nullptr);
                    if (chars)
                        result = QString::fromUtf8(chars);
                    g_free(chars);
                }
                g_free(range);
            }
        }
        g_object_unref(text);
    }
    g_object_unref(focused);
    return result;
}

std::unique_ptr<TextElement> AtspiFocusedTextReader::focusedElement()
{
    if (!m_ready)
        return nullptr;
    AtspiAccessible *focused = findFocusedElement();
    if (!focused)
        return nullptr;
    return std::make_unique<AtspiTextElement>(focused);
}

bool AtspiFocusedTextReader::focusedIsTerminal()
{
    if (!m_ready)
        return false;
    AtspiAccessible *focused = findFocusedElement();
    if (!focused)
        return false;
    bool terminal = atspi_accessible_get_role(focused, nullptr) == ATSPI_ROLE_TERMINAL;
    if (!terminal) {
        if (AtspiAccessible *app = atspi_accessible_get_application(focused, nullptr)) {
            gchar *name = atspi_accessible_get_name(app, nullptr);
            terminal = name && X11KeySynthesizer::terminalClasses().contains(
                                   QString::fromUtf8(name).toLower());
            g_free(name);
            g_object_unref(app);
        }
    }
    g_object_unref(focused);
    return terminal;
}
