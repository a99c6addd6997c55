#pragma once

#include <QJsonObject>
#include <QJsonValue>
#include <QMetaType>
#include <QString>

#include <cstdint>
#include <optional>

// One global hotkey: modifier keys held on their own, or modifiers plus one ordinary key.
// Modifiers are a 64-bit flag set in which only five bits take part in matching; key
// codes are ANSI virtual key codes (A = 0, Space = 49, …) on every platform.
class Shortcut
{
public:
    using Flags = std::uint64_t;

    static constexpr Flags fn = 0x800000;
    static constexpr Flags control = 0x040000;
    static constexpr Flags option = 0x080000;
    static constexpr Flags shift = 0x020000;
    static constexpr Flags command = 0x100000;
    // The five bits above; event flags are masked with this before any comparison.
    static constexpr Flags relevantMask = 0x9E0000;

    Flags modifiers = 0;
    std::optional<int> keyCode;
    std::optional<QString> keyLabel;

    Shortcut() = default;
    Shortcut(Flags modifiers, std::optional<int> keyCode = std::nullopt,
             std::optional<QString> keyLabel = std::nullopt);

    bool isModifierOnly() const { return !keyCode.has_value(); }

    // The text every view shows: the fn key's own name first, then Ctrl, Alt, Shift and
    // Super, then the key, joined with "+" ("Ctrl+Alt+D", "Right Ctrl+Left Ctrl"); "None"
    // when empty. `fnKeyName` is what the key acting as fn is called ("Right Ctrl").
    QString displayName(const QString &fnKeyName) const;
    // A double tap of the fn key, which starts hands-free dictation: "Right Ctrl ×2".
    static QString doubleTapName(const QString &fnKeyName);

    // Converts a hotkey string of the older settings format; unknown strings give fn.
    static Shortcut legacy(const QString &name);

    // {"modifiers": n, "keyCode": n?, "keyLabel": s?}
    QJsonObject encode() const;
    // Fails (nullopt) when "modifiers" is missing or not an unsigned integer, or when an
    // optional key is present with the wrong type. Unknown keys are ignored.
    static std::optional<Shortcut> decode(const QJsonValue &value);

    friend bool operator==(const Shortcut &, const Shortcut &) = default;
};

Q_DECLARE_METATYPE(Shortcut)
