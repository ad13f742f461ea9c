#include "ZelvoGateway/base/Secrets.h"

#include "base/Identifiers.h"

#include <openssl/crypto.h>
#include <openssl/evp.h>
#include <openssl/hmac.h>
#include <openssl/sha.h>

#include <array>
#include <stdexcept>

namespace zelvo::service {

namespace {

using Digest = std::array<unsigned char, SHA256_DIGEST_LENGTH>;

std::string hexadecimal(Digest const& digest)
{
    constexpr std::string_view digits = "0123456789abcdef";
    std::string text;
    for (unsigned char const byte : digest) {
        text += digits[byte >> 4];
        text += digits[byte & 15];
    }
    return text;
}

} // namespace

std::string newSecret()
{
    return randomHex(32);
}

std::string newId(std::string_view prefix)
{
    constexpr std::size_t length = 24;
    constexpr std::size_t ahead = 40; // Ids. The generator takes longer to begin than to fill them.
    static thread_local std::string random;
    if (random.size() < length)
        random = randomHex(ahead * length / 2);
    std::string id(prefix);
    id += '_';
    id.append(random, random.size() - length);
    random.resize(random.size() - length);
    return id;
}

std::string hashOf(std::string_view secret)
{
    static EVP_MD const* const sha256 = EVP_MD_fetch(nullptr, "SHA256", nullptr); // Searched for only once.
    Digest digest{};
    if (EVP_Digest(secret.data(), secret.size(), digest.data(), nullptr, sha256, nullptr) != 1)
        throw std::runtime_error("no SHA-256");
    return hexadecimal(digest);
}

struct TextHash::State {
    EVP_MD_CTX* const context = EVP_MD_CTX_new();
};

void TextHash::Release::operator()(State* released) const noexcept
{
    EVP_MD_CTX_free(released->context);
    delete released;
}

TextHash::TextHash() : state(new State)
{
    if (!state->context || EVP_DigestInit_ex(state->context, EVP_sha256(), nullptr) != 1)
        throw std::runtime_error("no SHA-256");
}

void TextHash::add(std::string_view piece)
{
    if (EVP_DigestUpdate(state->context, piece.data(), piece.size()) != 1)
        throw std::runtime_error("no SHA-256");
}

std::string TextHash::end()
{
    Digest digest{};
    if (EVP_DigestFinal_ex(state->context, digest.data(), nullptr) != 1)
        throw std::runtime_error("no SHA-256");
    return hexadecimal(digest);
}

std::string signatureOf(std::string_view text, std::string_view key)
{
    Digest digest{};
    HMAC(EVP_sha256(), key.data(), static_cast<int>(key.size()),
         reinterpret_cast<unsigned char const*>(text.data()), text.size(), digest.data(), nullptr);
    return hexadecimal(digest);
}

bool sameHash(std::string_view left, std::string_view right)
{
    return left.size() == right.size() && CRYPTO_memcmp(left.data(), right.data(), left.size()) == 0;
}

bool sameSecret(std::string_view left, std::string_view right)
{
    // Compares hashes, so that the lengths are equal, too.
    return sameHash(hashOf(left), hashOf(right));
}

} // namespace zelvo::service
