#pragma once

// Fakes of the platform interfaces, for unit tests. Each one that is told to do something
// can note it in a shared, ordered list of events, so a test asserts a whole row at once.

#include "platform/ClipboardWatcher.h"
#include "platform/FocusedTextReader.h"
#include "platform/InstalledApps.h"
#include "platform/KeySynthesizer.h"
#include "platform/LoginItem.h"
#include "platform/PermissionProbe.h"
#include "platform/SystemLog.h"

#include <QStringList>

#include <memory>

struct Noting
{
    QStringList *events = nullptr;
    void note(const QString &event) const
    {
        if (events)
            *events << event;
    }
};

struct FakePermissions : PermissionProbe
{
    MicrophoneAuthorization microphoneAuthorization() override { return microphone; }
    bool accessibilityTrusted() override { return accessibility; }
    bool screenRecordingTrusted() override { return screenRecording; }

    MicrophoneAuthorization microphone = MicrophoneAuthorization::authorized;
    bool accessibility = true;
    bool screenRecording = true;
};

struct FakeLoginItem : LoginItem
{
    bool isEnabled() const override { return enabled; }
    bool setEnabled(bool on, QString &error) override
    {
        if (failure) {
            error = *failure;
            return false;
        }
        enabled = on;
        return true;
    }
    bool enabled = false;
    std::optional<QString> failure;
};

struct RecordingSystemLog : SystemLog
{
    void write(const QString &message) override { lines << message; }
    QStringList lines;
};

// A text field of "another application" whose text and selection the test sets.
struct FakeField
{
    QString text{};
    std::optional<QString> selection{};
    bool readable = true;
    bool secret = false;
};

struct FakeFocusedText : FocusedTextReader
{
    class Element : public TextElement
    {
    public:
        explicit Element(std::shared_ptr<FakeField> field) : m_field(std::move(field)) {}
        std::optional<QString> value() override
        {
            return m_field->readable ? std::optional(m_field->text) : std::nullopt;
        }
        bool isSecret() const override { return m_field->secret; }

    private:
        std::shared_ptr<FakeField> m_field;
    };

    std::optional<QString> selectedText() override
    {
        return focused ? focused->selection : std::nullopt;
    }
    std::unique_ptr<TextElement> focusedElement() override
    {
        return focused ? std::make_unique<Element>(focused) : nullptr;
    }

    // Null: nothing has the focus.
    std::shared_ptr<FakeField> focused = std::make_shared<FakeField>();
};

// The keystrokes, noted as "keys paste" or "keys copy"; a copy can make the focused
// application claim the clipboard.
struct FakeKeySynthesizer : KeySynthesizer, Noting
{
    bool send(Command command) override
    {
        note(command == Command::paste ? "keys paste" : "keys copy");
        if (command == Command::copy && onCopy)
            onCopy();
        if (command == Command::paste && delivers && onPaste)
            onPaste();
        return delivers;
    }
    bool delivers = true;
    std::function<void()> onCopy;
    // What the focused application does with a paste.
    std::function<void()> onPaste;
};

// A clipboard owned by "another application": a copy sets `text` and counts a change.
struct FakeClipboardWatcher : ClipboardWatcher
{
    std::uint64_t changeCount() override { return count; }
    bool waitForChange(std::uint64_t since, int) override { return count != since; }
    std::optional<QString> text(int) override { return ownerText; }
    std::optional<ClipboardContents> contents(int, qsizetype) override { return held; }

    std::uint64_t count = 0;
    std::optional<QString> ownerText;
    // Every format, for a reader that keeps them all; nothing when they can't be read.
    std::optional<ClipboardContents> held = ClipboardContents();
};

struct FakeInstalledApps : InstalledApps
{
    QStringList names() override { return {"Calendar", "Files"}; }
    bool open(const QString &name) override { return names().contains(name); }
};
