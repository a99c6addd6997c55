#pragma once

#include <string>

// Password hashes (Argon2id) and bearer tokens (32 random bytes, kept only as a hash).
class Secrets
{
public:
    // False when libsodium can't start; nothing else here may be used then.
    static bool initialise();
    static std::string hashPassword(const std::string &password);
    static bool verifyPassword(const std::string &hash, const std::string &password);
    static std::string newToken();
    static std::string hashToken(const std::string &token);
    static std::string newId();
};
