#pragma once

// A store that caches one user's data from the backend; emptied at sign-out.
class UserDataCache
{
public:
    virtual ~UserDataCache() = default;
    // Empties every list and error, without a backend call.
    virtual void reset() = 0;
};
