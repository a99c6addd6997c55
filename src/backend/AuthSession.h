#pragma once

#include "backend/AuthUser.h"

// What sign-in and registration return: the bearer token and its user.
struct AuthSession
{
    QString token;
    AuthUser user;
};
