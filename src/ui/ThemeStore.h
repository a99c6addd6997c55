#pragma once

#include "platform/ColorSchemeSource.h"
#include "stores/Settings.h"

#include <QObject>
#include <QtQml/qqmlregistration.h>

class QJSEngine;
class QQmlEngine;
class SettingsStore;

// Which appearance the window uses: the saved preference, and for "system" the desktop's
// colour scheme (light when the desktop states none).
class ThemeStore : public QObject
{
    Q_OBJECT
    QML_ELEMENT
    QML_SINGLETON
    // "system", "light" or "dark".
    Q_PROPERTY(QString preference READ preference NOTIFY changed)
    Q_PROPERTY(bool dark READ dark NOTIFY changed)
    // Whether the desktop states a preference at all.
    Q_PROPERTY(bool systemKnown READ systemKnown NOTIFY changed)
public:
    static ThemeStore &shared();
    static ThemeStore *create(QQmlEngine *, QJSEngine *);

    // The desktop's scheme; without one "system" means light. Not owned.
    void setColorSchemeSource(ColorSchemeSource *source);

    void setPreference(AppTheme theme);
    // The preference of `settings`, now and after every save.
    void follow(SettingsStore &settings);
    QString preference() const;
    AppTheme theme() const { return m_theme; }
    bool dark() const;
    bool systemKnown() const { return m_system != ColorSchemeSource::Scheme::noPreference; }

Q_SIGNALS:
    void changed();

private:
    ThemeStore() = default;
    void setSystemScheme(ColorSchemeSource::Scheme scheme);

    AppTheme m_theme = AppTheme::system;
    ColorSchemeSource::Scheme m_system = ColorSchemeSource::Scheme::noPreference;
};
