#include "stores/Settings.h"

const Shortcut &Settings::shortcut(CaptureMode mode) const
{
    switch (mode) {
    case CaptureMode::ask:
        return askKey;
    case CaptureMode::screen:
        return screenKey;
    case CaptureMode::paste:
        break;
    }
    return pushToTalkKey;
}

QString appThemeName(AppTheme theme)
{
    switch (theme) {
    case AppTheme::light:
        return QStringLiteral("light");
    case AppTheme::dark:
        return QStringLiteral("dark");
    case AppTheme::system:
        break;
    }
    return QStringLiteral("system");
}

std::optional<AppTheme> appThemeFromName(const QString &name)
{
    for (AppTheme theme : {AppTheme::system, AppTheme::light, AppTheme::dark}) {
        if (appThemeName(theme) == name)
            return theme;
    }
    return std::nullopt;
}

namespace {

void decodeShortcut(const QJsonObject &object, const QString &key, Shortcut &field)
{
    const QJsonValue value = object.value(key);
    if (const auto shortcut = Shortcut::decode(value))
        field = *shortcut;
    else if (value.isString())
        field = Shortcut::legacy(value.toString());
}

} // namespace

std::optional<Settings> Settings::decode(const QJsonValue &value)
{
    if (!value.isObject())
        return std::nullopt;
    const QJsonObject object = value.toObject();
    Settings settings;
    if (const QJsonValue v = object.value(QLatin1String("cleanupEnabled")); v.isBool())
        settings.cleanupEnabled = v.toBool();
    decodeShortcut(object, QStringLiteral("pushToTalkKey"), settings.pushToTalkKey);
    decodeShortcut(object, QStringLiteral("askKey"), settings.askKey);
    decodeShortcut(object, QStringLiteral("screenKey"), settings.screenKey);
    if (const QJsonValue v = object.value(QLatin1String("pasteAutomatically")); v.isBool())
        settings.pasteAutomatically = v.toBool();
    if (const auto theme = appThemeFromName(object.value(QLatin1String("theme")).toString()))
        settings.theme = *theme;
    if (const QJsonValue v = object.value(QLatin1String("micUID")); v.isString())
        settings.micUID = v.toString();
    if (const QJsonValue v = object.value(QLatin1String("includeComputerAudio")); v.isBool())
        settings.includeComputerAudio = v.toBool();
    if (const QJsonValue v = object.value(QLatin1String("warmMicrophone")); v.isBool())
        settings.warmMicrophone = v.toBool();
    if (const QJsonValue v = object.value(QLatin1String("restoreClipboard")); v.isBool())
        settings.restoreClipboard = v.toBool();
    return settings;
}

QJsonObject Settings::encode() const
{
    return QJsonObject{
        {QStringLiteral("cleanupEnabled"), cleanupEnabled},
        {QStringLiteral("pushToTalkKey"), pushToTalkKey.encode()},
        {QStringLiteral("askKey"), askKey.encode()},
        {QStringLiteral("screenKey"), screenKey.encode()},
        {QStringLiteral("pasteAutomatically"), pasteAutomatically},
        {QStringLiteral("theme"), appThemeName(theme)},
        {QStringLiteral("micUID"), micUID},
        {QStringLiteral("includeComputerAudio"), includeComputerAudio},
        {QStringLiteral("warmMicrophone"), warmMicrophone},
        {QStringLiteral("restoreClipboard"), restoreClipboard},
    };
}
