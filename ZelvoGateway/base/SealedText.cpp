#include "ZelvoGateway/base/SealedText.h"

#include "base/Base64.h"

#include <openssl/evp.h>
#include <openssl/rand.h>
#include <openssl/sha.h>

#include <array>
#include <memory>
#include <stdexcept>

namespace zelvo::service {

namespace {

constexpr std::size_t nonceLength = 12;
constexpr std::size_t tagLength = 16;

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

/// A secret of this gateway is random, so one hash is derivation enough.
std::array<unsigned char, SHA256_DIGEST_LENGTH> cipherKey(std::string_view secret)
{
    std::array<unsigned char, SHA256_DIGEST_LENGTH> key{};
    std::string const text = "sealed text " + std::string(secret);
    SHA256(bytesOf(text), text.size(), key.data());
    return key;
}

void assertDone(int result)
{
    if (result != 1)
        throw std::runtime_error("the cipher failed");
}

} // namespace

std::string sealed(std::string_view text, std::string_view secret)
{
    auto const key = cipherKey(secret);
    std::string out(nonceLength + tagLength + text.size(), '\0');
    unsigned char* const bytes = bytesOf(out);
    assertDone(RAND_bytes(bytes, nonceLength));
    Cipher const cipher(EVP_CIPHER_CTX_new());
    int count = 0;
    assertDone(EVP_EncryptInit_ex(cipher.get(), EVP_aes_256_gcm(), nullptr, key.data(), bytes));
    assertDone(EVP_EncryptUpdate(cipher.get(), bytes + nonceLength + tagLength, &count, bytesOf(text),
                                 static_cast<int>(text.size())));
    assertDone(EVP_EncryptFinal_ex(cipher.get(), bytes + out.size(), &count));
    assertDone(EVP_CIPHER_CTX_ctrl(cipher.get(), EVP_CTRL_GCM_GET_TAG, tagLength, bytes + nonceLength));
    return base64::encode({bytes, out.size()});
}

std::optional<std::string> unsealed(std::string_view sealedText, std::string_view secret)
{
    auto in = base64::decode(sealedText);
    if (!in || in->size() < nonceLength + tagLength)
        return std::nullopt;
    auto const key = cipherKey(secret);
    unsigned char* const bytes = bytesOf(*in);
    std::string text(in->size() - nonceLength - tagLength, '\0');
    Cipher const cipher(EVP_CIPHER_CTX_new());
    int count = 0;
    assertDone(EVP_DecryptInit_ex(cipher.get(), EVP_aes_256_gcm(), nullptr, key.data(), bytes));
    assertDone(EVP_DecryptUpdate(cipher.get(), bytesOf(text), &count, bytes + nonceLength + tagLength,
                                 static_cast<int>(text.size())));
    assertDone(EVP_CIPHER_CTX_ctrl(cipher.get(), EVP_CTRL_GCM_SET_TAG, tagLength, bytes + nonceLength));
    if (EVP_DecryptFinal_ex(cipher.get(), bytesOf(text) + text.size(), &count) != 1)
        return std::nullopt;
    return text;
}

} // namespace zelvo::service
