#include "ui/ThemeStore.h"

#include "core/ProcessWide.h"

#include <QJSEngine>
#include <QPointer>

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
    QPointer<ThemeStore> self(this);
    source->subscribe([self](ColorSchemeSource::Scheme scheme) {
        if (self)
            self->setSystemScheme(scheme);
    });
    setSystemScheme(source->current());
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
