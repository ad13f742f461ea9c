#pragma once

#include <memory>
#include <string>
#include <string_view>

namespace zelvo::service {

/// 32 random bytes as hexadecimal text: a machine token, a one-time code, the API key.
std::string newSecret();
/// "con_1f0e...": an identifier that can't be guessed.
std::string newId(std::string_view prefix);
/// SHA-256 as hexadecimal text; secrets are stored only as this.
std::string hashOf(std::string_view secret);
/// The same for what is too long to be in memory at once. Throws std::runtime_error.
class TextHash {
public:
    TextHash();
    void add(std::string_view piece);
    /// The hash of all pieces; nothing can be added any more.
    std::string end();

private:
    struct State;
    struct Release {
        void operator()(State* released) const noexcept;
    };
    std::unique_ptr<State, Release> state;
};
/// HMAC-SHA-256 as hexadecimal text: proves that whoever made it has the key.
std::string signatureOf(std::string_view text, std::string_view key);
/// Compares two results of hashOf() in constant time.
bool sameHash(std::string_view left, std::string_view right);
/// Compares in constant time.
bool sameSecret(std::string_view left, std::string_view right);

} // namespace zelvo::service
