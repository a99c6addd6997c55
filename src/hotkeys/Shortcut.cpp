#include "hotkeys/Shortcut.h"

#include <QHash>
#include <QStringList>

#include <cmath>
#include <limits>

Shortcut::Shortcut(Flags modifiers, std::optional<int> keyCode, std::optional<QString> keyLabel)
    : modifiers(modifiers), keyCode(keyCode), keyLabel(std::move(keyLabel))
{}

QString Shortcut::displayName() const
{
    QStringList parts;
    if (modifiers & fn)
        parts << QStringLiteral("fn");
    if (modifiers & control)
        parts << QStringLiteral("⌃");
    if (modifiers & option)
        parts << QStringLiteral("⌥");
    if (modifiers & shift)
        parts << QStringLiteral("⇧");
    if (modifiers & command)
        parts << QStringLiteral("⌘");
    if (keyLabel && !keyLabel->isEmpty())
        parts << *keyLabel;
    return parts.isEmpty() ? QStringLiteral("None") : parts.join(QLatin1Char(' '));
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
