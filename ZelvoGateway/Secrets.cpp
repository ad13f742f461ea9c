#include "ZelvoGateway/Secrets.h"

#include "base/Identifiers.h"

#include <openssl/crypto.h>
#include <openssl/sha.h>

#include <array>

namespace zelvo::service {

std::string newSecret()
{
    return randomHex(32);
}

std::string newId(std::string_view prefix)
{
    return std::string(prefix) + "_" + randomHex(12);
}

std::string hashOf(std::string_view secret)
{
    std::array<unsigned char, SHA256_DIGEST_LENGTH> digest{};
    SHA256(reinterpret_cast<unsigned char const*>(secret.data()), secret.size(), digest.data());
    constexpr std::string_view digits = "0123456789abcdef";
    std::string text;
    for (unsigned char const byte : digest) {
        text += digits[byte >> 4];
        text += digits[byte & 15];
    }
    return text;
}

bool sameSecret(std::string_view left, std::string_view right)
{
    // Of hashes, so that the lengths are equal too.
    std::string const leftHash = hashOf(left);
    std::string const rightHash = hashOf(right);
    return CRYPTO_memcmp(leftHash.data(), rightHash.data(), leftHash.size()) == 0;
}

} // namespace zelvo::service
