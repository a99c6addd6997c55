#pragma once

// Whether a user is signed in (a token and a user record are both present).
class SignInState
{
public:
    virtual ~SignInState() = default;
    virtual bool isSignedIn() const = 0;
};
