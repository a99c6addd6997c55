#pragma once

#include <QObject>

// The desktop's light or dark preference.
class ColorSchemeSource : public QObject
{
    Q_OBJECT
public:
    enum class Scheme { noPreference, dark, light };

    using QObject::QObject;
    virtual Scheme current() const = 0;

Q_SIGNALS:
    void schemeChanged(ColorSchemeSource::Scheme scheme);
};
