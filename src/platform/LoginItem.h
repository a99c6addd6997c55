#pragma once

#include <QString>

// Registration of the application to start when the user logs in.
class LoginItem
{
public:
    virtual ~LoginItem();
    virtual bool isEnabled() const = 0;
    // Registers (on) or unregisters (off). On failure returns false and sets `error`
    // to a description the user can act on.
    virtual bool setEnabled(bool on, QString &error) = 0;
};
