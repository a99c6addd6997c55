#pragma once

#include "HttpError.h"

#include <functional>

// The HTTP status a call refuses with, or 200 when it goes through.
inline int statusOf(const std::function<void()> &call)
{
    try {
        call();
    } catch (const HttpError &error) {
        return error.status();
    }
    return 200;
}
