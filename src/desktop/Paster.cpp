#include "desktop/Paster.h"

#include "core/Scheduler.h"
#include "platform/ClipboardWriter.h"
#include "platform/FocusedTextReader.h"
#include "platform/KeySynthesizer.h"

#include <QClipboard>
#include <QGuiApplication>

namespace {

// Fields wrap and re-space what they show (a terminal breaks long lines): compared without
// whitespace.
QString squeezed(const QString &text)
{
    QString out;
    out.reserve(text.size());
    for (QChar c : text) {
        if (!c.isSpace())
            out += c;
    }
    return out;
}

} // namespace

struct Paster::Check
{
    QString text;
    std::unique_ptr<TextElement> field;
    qsizetype before = 0; // how often the field held the text before the keystroke
    OutcomeHandler outcome;
};

Paster::Paster(KeySynthesizer &keys, Scheduler &scheduler, ClipboardWriter *writer,
               FocusedTextReader *fields)
    : m_keys(keys), m_writer(writer), m_fields(fields), m_scheduler(scheduler)
{}

void Paster::copy(const QString &text)
{
    if (m_writer)
        m_writer->setText(text);
    else
        QGuiApplication::clipboard()->setText(text, QClipboard::Clipboard);
}

void Paster::paste(const QString &text, OutcomeHandler outcome)
{
    copy(text);
    auto check = std::make_shared<Check>();
    check->outcome = std::move(outcome);
    check->text = squeezed(text);
    // Read during the wait before the keystroke, which it does not delay.
    if (m_fields && check->outcome && !check->text.isEmpty()) {
        check->field = m_fields->focusedElement();
        const std::optional<QString> before =
            check->field && !check->field->isSecret() ? check->field->value() : std::nullopt;
        if (before)
            check->before = squeezed(*before).count(check->text);
        else
            check->field.reset();
    }
    m_pending = m_scheduler.schedule(pasteDelay, [this, check] {
        if (!m_keys.send(KeySynthesizer::Command::paste)) {
            if (check->outcome)
                check->outcome(Outcome::unsent);
            return;
        }
        if (!check->outcome)
            return;
        if (!check->field) {
            check->outcome(Outcome::unchecked);
            return;
        }
        m_pending = m_scheduler.schedule(firstCheck, [this, check] { look(check, false); });
    });
}

void Paster::look(std::shared_ptr<Check> check, bool last)
{
    const std::optional<QString> after = check->field->value();
    if (!after) {
        check->outcome(Outcome::unchecked);
    } else if (squeezed(*after).count(check->text) > check->before) {
        check->outcome(Outcome::landed);
    } else if (last) {
        check->outcome(Outcome::missing);
    } else {
        m_pending =
            m_scheduler.schedule(lastCheck - firstCheck, [this, check] { look(check, true); });
    }
}
