#include "platform/portable/updates/UpdateKey.h"

#include "base/Base64.h"

#include <openssl/evp.h>

namespace zelvo {

namespace {

constexpr std::size_t keyBytes = 32;
constexpr std::size_t signatureBytes = 64;

struct DigestCleanup {
    void operator()(EVP_MD_CTX* context) const noexcept { EVP_MD_CTX_free(context); }
};

unsigned char const* bytesOf(std::string_view text)
{
    return reinterpret_cast<unsigned char const*>(text.data());
}

} // namespace

void KeyCleanup::operator()(EVP_PKEY* key) const noexcept
{
    EVP_PKEY_free(key);
}

std::optional<UpdateKey> UpdateKey::fromBase64(std::string_view base64)
{
    std::optional<std::string> const bytes = base64::decode(base64);
    if (!bytes || bytes->size() != keyBytes)
        return std::nullopt;
    EVP_PKEY* const raw = EVP_PKEY_new_raw_public_key(EVP_PKEY_ED25519, nullptr, bytesOf(*bytes), keyBytes);
    if (!raw)
        return std::nullopt;
    return UpdateKey(raw);
}

bool UpdateKey::verifies(std::string_view content, std::string_view signature) const
{
    std::optional<std::string> const bytes = base64::decode(signature);
    std::unique_ptr<EVP_MD_CTX, DigestCleanup> const context(EVP_MD_CTX_new());
    return bytes && bytes->size() == signatureBytes && context &&
           EVP_DigestVerifyInit(context.get(), nullptr, nullptr, nullptr, key.get()) == 1 &&
           EVP_DigestVerify(context.get(), bytesOf(*bytes), bytes->size(), bytesOf(content),
                            content.size()) == 1;
}

} // namespace zelvo
