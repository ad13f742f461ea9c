#pragma once

#include <cstddef>
#include <optional>
#include <span>
#include <string>
#include <string_view>

/// Standard base64 with padding and without line breaks.
namespace zelvo::base64 {

std::string encode(std::span<unsigned char const> bytes);
/// For a text that is kept elsewhere: its length, and its characters with a zero byte behind them.
std::size_t encodedLength(std::size_t bytes);
void encodeTo(char* text, std::span<unsigned char const> bytes);
/// The bytes of a text; nothing when it is not base64.
std::optional<std::string> decode(std::string_view text);

} // namespace zelvo::base64
