#include "hotkeys/Shortcut.h"

#include <QHash>
#include <QStringList>

#include <cmath>
#include <limits>

Shortcut::Shortcut(Flags modifiers, std::optional<int> keyCode, std::optional<QString> keyLabel)
    : modifiers(modifiers), keyCode(keyCode), keyLabel(std::move(keyLabel))
{}

namespace {

// Labels recorded before keys were named the PC way; a settings file may still hold them.
QString keyName(const QString &label)
{
    static const QHash<QString, QString> names{
        {QStringLiteral("↩"), QStringLiteral("Enter")},
        {QStringLiteral("⇥"), QStringLiteral("Tab")},
        {QStringLiteral("⌫"), QStringLiteral("Backspace")},
        {QStringLiteral("⎋"), QStringLiteral("Esc")},
        {QStringLiteral("⌤"), QStringLiteral("Num Enter")},
        {QStringLiteral("⌦"), QStringLiteral("Delete")},
        {QStringLiteral("←"), QStringLiteral("Left")},
        {QStringLiteral("→"), QStringLiteral("Right")},
        {QStringLiteral("↓"), QStringLiteral("Down")},
        {QStringLiteral("↑"), QStringLiteral("Up")},
    };
    return names.value(label, label);
}

} // namespace

QString Shortcut::displayName(const QString &fnKeyName) const
{
    QStringList parts;
    if (modifiers & fn)
        parts << fnKeyName;
    // When the fn key is the right one of a pair, the modifier of that pair is the left key.
    const auto name = [&](const QString &modifier) {
        const bool sameKey = (modifiers & fn) && fnKeyName == QLatin1String("Right ") + modifier;
        return sameKey ? QLatin1String("Left ") + modifier : modifier;
    };
    if (modifiers & control)
        parts << name(QStringLiteral("Ctrl"));
    if (modifiers & option)
        parts << name(QStringLiteral("Alt"));
    if (modifiers & shift)
        parts << name(QStringLiteral("Shift"));
    if (modifiers & command)
        parts << name(QStringLiteral("Super"));
    if (keyLabel && !keyLabel->isEmpty())
        parts << keyName(*keyLabel);
    return parts.isEmpty() ? QStringLiteral("None") : parts.join(QLatin1Char('+'));
}

QString Shortcut::doubleTapName(const QString &fnKeyName)
{
    return fnKeyName + QStringLiteral(" ×2");
}

Shortcut Shortcut::legacy(const QString &name)
{
    static const QHash<QString, Flags> table{
        {QStringLiteral("fn"), fn},
        {QStringLiteral("option"), option},
        {QStringLiteral("command"), command},
        {QStringLiteral("control"), control},
        {QStringLiteral("fn+control"), fn | control},
        {QStringLiteral("fn+control+option"), fn | control | option},
        {QStringLiteral("option+command"), option | command},
        {QStringLiteral("control+option"), control | option},
        {QStringLiteral("control+command"), control | command},
        {QStringLiteral("command+shift"), command | shift},
    };
    return Shortcut(table.value(name, fn) & relevantMask);
}

QJsonObject Shortcut::encode() const
{
    QJsonObject object;
    object.insert(QStringLiteral("modifiers"), static_cast<qint64>(modifiers));
    if (keyCode)
        object.insert(QStringLiteral("keyCode"), *keyCode);
    if (keyLabel)
        object.insert(QStringLiteral("keyLabel"), *keyLabel);
    return object;
}

namespace {

// JSON numbers arrive as doubles; only exact integers inside [min, max] are accepted.
std::optional<double> integral(const QJsonValue &value, double min, double max)
{
    if (!value.isDouble())
        return std::nullopt;
    const double number = value.toDouble();
    if (!std::isfinite(number) || std::trunc(number) != number || number < min || number > max)
        return std::nullopt;
    return number;
}

} // namespace

std::optional<Shortcut> Shortcut::decode(const QJsonValue &value)
{
    if (!value.isObject())
        return std::nullopt;
    const QJsonObject object = value.toObject();

    // Integers beyond 2^53 cannot be told apart in JSON's double; no modifier bit is that high.
    const auto modifiers =
        integral(object.value(QStringLiteral("modifiers")), 0, 9007199254740992.0);
    if (!modifiers)
        return std::nullopt;
    Shortcut shortcut(static_cast<Flags>(*modifiers));

    const QJsonValue keyCode = object.value(QStringLiteral("keyCode"));
    if (!keyCode.isUndefined() && !keyCode.isNull()) {
        const auto code =
            integral(keyCode, std::numeric_limits<int>::min(), std::numeric_limits<int>::max());
        if (!code)
            return std::nullopt;
        shortcut.keyCode = static_cast<int>(*code);
    }

    const QJsonValue keyLabel = object.value(QStringLiteral("keyLabel"));
    if (!keyLabel.isUndefined() && !keyLabel.isNull()) {
        if (!keyLabel.isString())
            return std::nullopt;
        shortcut.keyLabel = keyLabel.toString();
    }
    return shortcut;
}
