#pragma once

#include "core/TimerHandle.h"
#include "platform/ClipboardWatcher.h"

#include <QMimeData>
#include <QPointer>
#include <QString>

#include <functional>
#include <memory>
#include <optional>

class ClipboardWriter;
class FocusedTextReader;
class KeySynthesizer;
class Scheduler;
class TextElement;

// Puts text into the focused application: the clipboard (which keeps the text
// afterwards), then the paste keystroke 0.12 s later. A modifier the user still holds does
// not spoil it: the keystroke is sent with the paste chord's modifiers alone. Where the
// focused field shows its text to the accessibility layer, it then looks whether the text
// arrived there. Given what the clipboard held before, it puts that back once the target has
// fetched the text, or a second after the keystroke; never when the paste did not arrive,
// since the user then pastes the text by hand.
class Paster
{
public:
    static constexpr double pasteDelay = 0.12;
    // After the keystroke, when the field is looked at; an application that is slow to
    // take the paste gets the second look before the text counts as missing.
    static constexpr double firstCheck = 0.25;
    static constexpr double lastCheck = 1.0;
    // An application may fetch several formats one after another: the clipboard goes back
    // this long after the last fetch, and at the latest `restoreDeadline` after the keystroke.
    static constexpr double restoreAfterFetch = 0.2;
    static constexpr double restoreDeadline = 1.0;

    enum class Outcome {
        unsent,   // no keystroke could be sent
        landed,   // the field's text gained it
        missing,  // the field's text stayed without it
        unchecked // no field, or one whose text can't be read
    };
    using OutcomeHandler = std::function<void(Outcome)>;

    // `writer`: null for Qt's own clipboard. `fields`: null to send without checking.
    Paster(KeySynthesizer &keys, Scheduler &scheduler, ClipboardWriter *writer = nullptr,
           FocusedTextReader *fields = nullptr);
    ~Paster();
    Paster(const Paster &) = delete;
    Paster &operator=(const Paster &) = delete;
    // `outcome` hears how it went. `previous`: what to put back on the clipboard afterwards
    // (only where the clipboard is Qt's own); without it the text stays there.
    void paste(const QString &text, OutcomeHandler outcome = {},
               std::optional<ClipboardContents> previous = std::nullopt);
    // Only onto the clipboard, where the user pastes it.
    void copy(const QString &text);

private:
    struct Check;
    void look(std::shared_ptr<Check> check, bool last);
    void report(const std::shared_ptr<Check> &check, Outcome outcome);
    void restore(const std::shared_ptr<Check> &check);

    KeySynthesizer &m_keys;
    ClipboardWriter *m_writer;
    FocusedTextReader *m_fields;
    Scheduler &m_scheduler;
    TimerHandle m_pending;
    TimerHandle m_restore;
    // The clipboard's data while it is the last paste's: it outlives us there.
    QPointer<QMimeData> m_offered;
};
