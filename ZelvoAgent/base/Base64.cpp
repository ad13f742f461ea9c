#include "base/Base64.h"

#include <openssl/evp.h>

#include <algorithm>

namespace zelvo::base64 {

namespace {

// OpenSSL takes lengths as int, so long inputs are split into pieces of whole base64 groups.
constexpr std::size_t pieceBytes = 3u << 20;
constexpr std::size_t pieceText = 4u << 20;

unsigned char* raw(std::string& text, std::size_t at)
{
    return reinterpret_cast<unsigned char*>(text.data()) + at;
}

std::size_t paddingOf(std::string_view text)
{
    std::size_t padding = 0;
    while (padding < 2 && padding < text.size() && text[text.size() - 1 - padding] == '=')
        ++padding;
    return padding;
}

} // namespace

std::string encode(std::span<unsigned char const> bytes)
{
    std::string text(encodedLength(bytes.size()), '\0');
    encodeTo(text.data(), bytes); // A std::string has room for the terminating zero.
    return text;
}

std::size_t encodedLength(std::size_t bytes)
{
    return (bytes + 2) / 3 * 4;
}

void encodeTo(char* text, std::span<unsigned char const> bytes)
{
    *text = '\0';
    for (std::size_t at = 0; at < bytes.size(); at += pieceBytes) {
        auto const size = static_cast<int>(std::min(pieceBytes, bytes.size() - at));
        text += EVP_EncodeBlock(reinterpret_cast<unsigned char*>(text), bytes.data() + at, size);
    }
}

std::optional<std::string> decode(std::string_view text)
{
    if (text.size() % 4 != 0)
        return std::nullopt;
    std::size_t const padding = paddingOf(text);
    if (text.substr(0, text.size() - padding)
            .find_first_not_of("ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789+/") !=
        std::string_view::npos)
        return std::nullopt; // OpenSSL would skip white space and stop at other characters.
    std::string bytes(text.size() / 4 * 3, '\0');
    std::size_t written = 0;
    for (std::size_t at = 0; at < text.size(); at += pieceText) {
        std::size_t const size = std::min(pieceText, text.size() - at);
        auto const* const from = reinterpret_cast<unsigned char const*>(text.data()) + at;
        int const count = EVP_DecodeBlock(raw(bytes, written), from, static_cast<int>(size));
        if (count < 0)
            return std::nullopt;
        written += static_cast<std::size_t>(count);
    }
    bytes.resize(written - padding);
    return bytes;
}

} // namespace zelvo::base64
