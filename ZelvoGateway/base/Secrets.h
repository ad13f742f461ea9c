#pragma once

#include <string>
#include <string_view>

namespace zelvo::service {

/// 32 random bytes as hexadecimal text: a machine token, a one-time code, the API key.
std::string newSecret();
/// "con_1f0e...": an identifier that nobody can guess.
std::string newId(std::string_view prefix);
/// SHA-256 as hexadecimal text; what is stored of a secret.
std::string hashOf(std::string_view secret);
/// HMAC-SHA-256 as hexadecimal text: a proof that this text was written by somebody with the key.
std::string signatureOf(std::string_view text, std::string_view key);
/// Compares in a time that does not depend on where the texts differ.
bool sameSecret(std::string_view left, std::string_view right);

} // namespace zelvo::service
