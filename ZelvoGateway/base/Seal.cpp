#include "ZelvoGateway/base/Seal.h"

#include <openssl/crypto.h>
#include <openssl/evp.h>
#include <openssl/rand.h>
#include <openssl/sha.h>

#include <memory>
#include <stdexcept>

namespace zelvo::service {

namespace {

constexpr std::size_t nonceLength = 12;
constexpr std::size_t tagLength = 16;
static_assert(Seal::overhead == nonceLength + tagLength);

struct FreeCipher {
    void operator()(EVP_CIPHER_CTX* context) const noexcept { EVP_CIPHER_CTX_free(context); }
};
using Cipher = std::unique_ptr<EVP_CIPHER_CTX, FreeCipher>;

unsigned char const* bytesOf(std::string_view text)
{
    return reinterpret_cast<unsigned char const*>(text.data());
}

unsigned char* bytesOf(std::string& text)
{
    return reinterpret_cast<unsigned char*>(text.data());
}

void assertDone(int result)
{
    if (result != 1)
        throw std::runtime_error("the cipher failed");
}

} // namespace

/// A secret of this gateway is random, so one hash is derivation enough.
Seal::Seal(std::string_view secret, std::string_view purpose)
{
    static_assert(sizeof key == SHA256_DIGEST_LENGTH);
    std::string text = std::string(purpose) + " " + std::string(secret);
    SHA256(bytesOf(text), text.size(), key.data());
    OPENSSL_cleanse(text.data(), text.size());
}

Seal::~Seal()
{
    OPENSSL_cleanse(key.data(), key.size());
}

std::string Seal::close(std::string_view bytes, std::string_view place) const
{
    std::string out(overhead + bytes.size(), '\0');
    unsigned char* const to = bytesOf(out);
    assertDone(RAND_bytes(to, nonceLength));
    Cipher const cipher(EVP_CIPHER_CTX_new());
    int count = 0;
    assertDone(EVP_EncryptInit_ex(cipher.get(), EVP_aes_256_gcm(), nullptr, key.data(), to));
    assertDone(
        EVP_EncryptUpdate(cipher.get(), nullptr, &count, bytesOf(place), static_cast<int>(place.size())));
    assertDone(EVP_EncryptUpdate(cipher.get(), to + overhead, &count, bytesOf(bytes),
                                 static_cast<int>(bytes.size())));
    assertDone(EVP_EncryptFinal_ex(cipher.get(), to + out.size(), &count));
    assertDone(EVP_CIPHER_CTX_ctrl(cipher.get(), EVP_CTRL_GCM_GET_TAG, tagLength, to + nonceLength));
    return out;
}

std::optional<std::string> Seal::open(std::string_view sealed, std::string_view place) const
{
    if (sealed.size() < overhead)
        return std::nullopt;
    std::string tag(sealed.substr(nonceLength, tagLength));
    std::string_view const inside = sealed.substr(overhead);
    std::string text(inside.size(), '\0');
    Cipher const cipher(EVP_CIPHER_CTX_new());
    int count = 0;
    assertDone(EVP_DecryptInit_ex(cipher.get(), EVP_aes_256_gcm(), nullptr, key.data(), bytesOf(sealed)));
    assertDone(
        EVP_DecryptUpdate(cipher.get(), nullptr, &count, bytesOf(place), static_cast<int>(place.size())));
    assertDone(EVP_DecryptUpdate(cipher.get(), bytesOf(text), &count, bytesOf(inside),
                                 static_cast<int>(inside.size())));
    assertDone(EVP_CIPHER_CTX_ctrl(cipher.get(), EVP_CTRL_GCM_SET_TAG, tagLength, tag.data()));
    if (EVP_DecryptFinal_ex(cipher.get(), bytesOf(text) + text.size(), &count) != 1)
        return std::nullopt;
    return text;
}

} // namespace zelvo::service
