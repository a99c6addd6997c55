#include "platform/linux/AtspiTextElement.h"

#include <atspi/atspi.h>

AtspiTextElement::AtspiTextElement(AtspiAccessible *accessible) : m_accessible(accessible)
{
    GError *error = nullptr;
    const AtspiRole role = atspi_accessible_get_role(m_accessible, &error);
    // A role we cannot read could be anything, so it counts as a password field.
    m_secret = error || role == ATSPI_ROLE_PASSWORD_TEXT;
    g_clear_error(&error);
}

AtspiTextElement::~AtspiTextElement()
{
    g_object_unref(m_accessible);
}

std::optional<QString> AtspiTextElement::value()
{
    if (m_secret)
        return std::nullopt;
    AtspiText *text = atspi_accessible_get_text_iface(m_accessible);
    if (!text)
        return std::nullopt;
    std::optional<QString> result;
    GError *error = nullptr;
    const gint count = atspi_text_get_character_count(text, &error);
    if (!error) {
        gchar *chars = atspi_text_get_text(text, 0, count, &error);
        if (!error && chars)
            result = QString::fromUtf8(chars);
        g_free(chars);
    }
    g_clear_error(&error);
    g_object_unref(text);
    return result;
}
