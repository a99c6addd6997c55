#include "ui/ThemeStore.h"

#include "core/ProcessWide.h"
#include "stores/SettingsStore.h"

#include <QJSEngine>

ThemeStore &ThemeStore::shared()
{
    return processWide<ThemeStore>([] { return new ThemeStore; });
}

ThemeStore *ThemeStore::create(QQmlEngine *, QJSEngine *)
{
    ThemeStore *store = &shared();
    QJSEngine::setObjectOwnership(store, QJSEngine::CppOwnership);
    return store;
}

void ThemeStore::setColorSchemeSource(ColorSchemeSource *source)
{
    if (!source) {
        setSystemScheme(ColorSchemeSource::Scheme::noPreference);
        return;
    }
    connect(source, &ColorSchemeSource::schemeChanged, this, &ThemeStore::setSystemScheme);
    setSystemScheme(source->current());
}

void ThemeStore::follow(SettingsStore &settings)
{
    setPreference(settings.current().theme);
    connect(&settings, &SettingsStore::changed, this,
            [this, &settings] { setPreference(settings.current().theme); });
}

void ThemeStore::setPreference(AppTheme theme)
{
    if (m_theme == theme)
        return;
    m_theme = theme;
    Q_EMIT changed();
}

QString ThemeStore::preference() const
{
    return appThemeName(m_theme);
}

bool ThemeStore::dark() const
{
    switch (m_theme) {
    case AppTheme::light:
        return false;
    case AppTheme::dark:
        return true;
    case AppTheme::system:
        break;
    }
    return m_system == ColorSchemeSource::Scheme::dark;
}

void ThemeStore::setSystemScheme(ColorSchemeSource::Scheme scheme)
{
    if (m_system == scheme)
        return;
    m_system = scheme;
    Q_EMIT changed();
}
