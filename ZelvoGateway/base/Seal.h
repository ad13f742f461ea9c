#pragma once

#include <array>
#include <cstddef>
#include <optional>
#include <string>
#include <string_view>

namespace zelvo::service {

/// Encrypts and authenticates bytes for whoever has the secret (AES-256-GCM with a key that is derived from
/// it). Thread: any. Throws std::runtime_error if the library fails.
class Seal {
public:
    static constexpr std::size_t overhead = 28; ///< by which sealed bytes are longer

    /// secret   random, at least 32 characters
    /// purpose  bytes that are sealed for one purpose cannot be opened for another
    Seal(std::string_view secret, std::string_view purpose);
    ~Seal();
    Seal(Seal const&) = default;
    Seal& operator=(Seal const&) = default;

    /// Differs each time. place  where the bytes belong: they cannot be opened for another place
    std::string close(std::string_view bytes, std::string_view place = {}) const;
    /// `nullopt` with another secret, purpose or place, or if the bytes were changed.
    std::optional<std::string> open(std::string_view sealed, std::string_view place = {}) const;

private:
    std::array<unsigned char, 32> key{};
};

} // namespace zelvo::service
