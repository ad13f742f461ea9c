#pragma once

#include <optional>
#include <string>
#include <string_view>

namespace zelvo::service {

/// Encrypts a text for whoever has the secret (AES-256-GCM with a key that is derived from it). The result is
/// base64 and differs each time. Throws std::runtime_error if the library fails.
std::string sealed(std::string_view text, std::string_view secret);
/// The text of a sealed one; nullopt with another secret or if it was changed.
std::optional<std::string> unsealed(std::string_view sealedText, std::string_view secret);

} // namespace zelvo::service
