#pragma once

#include <QString>

// Where the backend client reads the bearer token (the auth store). Main thread.
class TokenProvider
{
public:
    virtual ~TokenProvider() = default;
    // The current token, or an empty string when signed out.
    virtual QString bearerToken() const = 0;
};
