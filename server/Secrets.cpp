#include "Secrets.h"

#include "HttpError.h"

#include <sodium.h>

namespace {

std::string hex(const unsigned char *bytes, std::size_t size)
{
    std::string out(size * 2 + 1, '\0');
    sodium_bin2hex(out.data(), out.size(), bytes, size);
    out.resize(size * 2);
    return out;
}

} // namespace

bool Secrets::initialise()
{
    return sodium_init() >= 0;
}

std::string Secrets::hashPassword(const std::string &password)
{
    char hash[crypto_pwhash_STRBYTES];
    if (crypto_pwhash_str_alg(
            hash, password.data(), password.size(), crypto_pwhash_OPSLIMIT_INTERACTIVE,
            crypto_pwhash_MEMLIMIT_INTERACTIVE, crypto_pwhash_ALG_ARGON2ID13) != 0)
        throw HttpError(500, "The server ran out of memory hashing the password.");
    return hash;
}

bool Secrets::verifyPassword(const std::string &hash, const std::string &password)
{
    return crypto_pwhash_str_verify(hash.c_str(), password.data(), password.size()) == 0;
}

std::string Secrets::newToken()
{
    unsigned char bytes[32];
    randombytes_buf(bytes, sizeof bytes);
    return hex(bytes, sizeof bytes);
}

std::string Secrets::hashToken(const std::string &token)
{
    unsigned char digest[crypto_generichash_BYTES];
    crypto_generichash(digest, sizeof digest, reinterpret_cast<const unsigned char *>(token.data()),
                       token.size(), nullptr, 0);
    return hex(digest, sizeof digest);
}

std::string Secrets::newId()
{
    unsigned char bytes[12];
    randombytes_buf(bytes, sizeof bytes);
    return hex(bytes, sizeof bytes);
}
