#include "desktop/Paster.h"

#include "core/Scheduler.h"
#include "platform/ClipboardWriter.h"
#include "platform/FocusedTextReader.h"
#include "platform/KeySynthesizer.h"

#include <QClipboard>
#include <QGuiApplication>
#include <QMimeData>
#include <QPointer>

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

// The transcript as our clipboard offers it; notes each fetch by another application.
class WatchedMimeData : public QMimeData
{
public:
    std::function<void()> fetched;

protected:
    QVariant retrieveData(const QString &format, QMetaType type) const override
    {
        if (fetched)
            fetched();
        return QMimeData::retrieveData(format, type);
    }
};

} // namespace

struct Paster::Check
{
    QString text;     // as typed
    QString squeezed; // as compared
    std::unique_ptr<TextElement> field;
    qsizetype before = 0; // how often the field held the text before the keystroke
    OutcomeHandler outcome;
    std::optional<ClipboardContents> previous;
    bool sent = false;
    bool restored = false;
    bool keepText = false; // the paste did not arrive: the text stays for the user
};

Paster::Paster(KeySynthesizer &keys, Scheduler &scheduler, ClipboardWriter *writer,
               FocusedTextReader *fields)
    : m_keys(keys), m_writer(writer), m_fields(fields), m_scheduler(scheduler)
{}

Paster::~Paster()
{
    // The clipboard keeps our data after we are gone (and hands it to a clipboard manager
    // at exit): its fetches must no longer reach us.
    if (auto *mime = static_cast<WatchedMimeData *>(m_offered.data()))
        mime->fetched = nullptr;
}

void Paster::copy(const QString &text)
{
    if (m_writer)
        m_writer->setText(text);
    else
        QGuiApplication::clipboard()->setText(text, QClipboard::Clipboard);
}

void Paster::paste(const QString &text, OutcomeHandler outcome,
                   std::optional<ClipboardContents> previous)
{
    m_restore.cancel();
    auto check = std::make_shared<Check>();
    check->text = text;
    check->outcome = std::move(outcome);
    check->squeezed = squeezed(text);
    if (previous && !m_writer) {
        check->previous = std::move(previous);
        auto *mime = new WatchedMimeData;
        mime->setText(text);
        std::weak_ptr<Check> weak = check;
        mime->fetched = [this, weak] {
            const std::shared_ptr<Check> fetchedCheck = weak.lock();
            // Fetches before the keystroke are a clipboard manager's, not the target's.
            if (!fetchedCheck || !fetchedCheck->sent || fetchedCheck->restored)
                return;
            m_restore = m_scheduler.schedule(restoreAfterFetch,
                                             [this, fetchedCheck] { restore(fetchedCheck); });
        };
        m_offered = mime;
        QGuiApplication::clipboard()->setMimeData(mime, QClipboard::Clipboard);
    } else {
        copy(text);
    }
    // Read during the wait before the keystroke, which it does not delay.
    if (m_fields && check->outcome && !check->squeezed.isEmpty()) {
        check->field = m_fields->focusedElement();
        const std::optional<QString> before =
            check->field && !check->field->isSecret() ? check->field->value() : std::nullopt;
        if (before)
            check->before = squeezed(*before).count(check->squeezed);
        else
            check->field.reset();
    }
    m_pending = m_scheduler.schedule(pasteDelay, [this, check] {
        if (!m_keys.send(KeySynthesizer::Command::paste)) {
            report(check, Outcome::unsent);
            return;
        }
        check->sent = true;
        if (check->previous) {
            // After the last look at the field, so a paste found missing keeps its text.
            m_restore =
                m_scheduler.schedule(restoreDeadline + 0.01, [this, check] { restore(check); });
        }
        if (!check->field) {
            report(check, Outcome::unchecked);
            return;
        }
        m_pending = m_scheduler.schedule(firstCheck, [this, check] { look(check, false); });
    });
}

void Paster::look(std::shared_ptr<Check> check, bool last)
{
    const std::optional<QString> after = check->field->value();
    if (!after) {
        report(check, Outcome::unchecked);
    } else if (squeezed(*after).count(check->squeezed) > check->before) {
        report(check, Outcome::landed);
    } else if (last) {
        report(check, Outcome::missing);
    } else {
        m_pending =
            m_scheduler.schedule(lastCheck - firstCheck, [this, check] { look(check, true); });
    }
}

void Paster::report(const std::shared_ptr<Check> &check, Outcome outcome)
{
    if (outcome == Outcome::unsent || outcome == Outcome::missing) {
        check->keepText = true;
        if (check->restored)
            copy(check->text); // put back too soon: the user needs the text now
        m_restore.cancel();
    }
    if (check->outcome)
        check->outcome(outcome);
}

void Paster::restore(const std::shared_ptr<Check> &check)
{
    QClipboard *clipboard = QGuiApplication::clipboard();
    // Someone copied something since: that is the clipboard now.
    if (check->restored || check->keepText || !check->previous || !m_offered ||
        clipboard->mimeData(QClipboard::Clipboard) != m_offered.data())
        return;
    check->restored = true;
    if (check->previous->isEmpty()) {
        clipboard->clear(QClipboard::Clipboard); // it held nothing
        return;
    }
    auto *mime = new QMimeData;
    for (const auto &[format, bytes] : std::as_const(*check->previous)) {
        if (format == QLatin1String("UTF8_STRING"))
            mime->setText(QString::fromUtf8(bytes));
        else
            mime->setData(format, bytes);
    }
    clipboard->setMimeData(mime, QClipboard::Clipboard);
}
