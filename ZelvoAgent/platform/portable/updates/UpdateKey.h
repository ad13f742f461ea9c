#pragma once

#include <openssl/types.h>

#include <memory>
#include <optional>
#include <string_view>

namespace zelvo {

struct KeyCleanup {
    void operator()(EVP_PKEY* key) const noexcept;
};

/// The publisher's public Ed25519 key, by which feeds and archives are verified. Thread: any.
class UpdateKey {
public:
    /// base64  of the 32 bytes of the key; `nullopt` for anything else
    static std::optional<UpdateKey> fromBase64(std::string_view base64);

    /// Whether the signature, base64 of 64 bytes, is this key's over exactly these bytes.
    bool verifies(std::string_view content, std::string_view signature) const;

private:
    explicit UpdateKey(EVP_PKEY* raw) : key(raw) {}
    std::unique_ptr<EVP_PKEY, KeyCleanup> key;
};

} // namespace zelvo
