#pragma once

#include <cstddef>
#include <optional>
#include <span>
#include <string>
#include <string_view>

/// Standard base64 with padding and without line breaks.
namespace zelvo::base64 {

std::string encode(std::span<unsigned char const> bytes);
/// Length of the encoded text in characters, without a terminating zero.
std::size_t encodedLength(std::size_t bytes);
/// Encodes into a buffer of encodedLength() + 1 characters; the last one is the terminating zero.
void encodeTo(char* text, std::span<unsigned char const> bytes);
/// `nullopt` if the text is not base64.
std::optional<std::string> decode(std::string_view text);

} // namespace zelvo::base64
