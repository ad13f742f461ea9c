#include "platform/linux/x11/clipboard/ClipboardBytes.h"

#include "base/Text.h"

#include <algorithm>
#include <cstring>
#include <utility>

namespace zelvo {

namespace {

bool isAscii(std::string_view bytes)
{
    return std::ranges::all_of(bytes, [](char c) { return static_cast<unsigned char>(c) < 0x80; });
}

/// The length of a UTF-8 sequence, from its first byte.
std::size_t lengthOfSequence(unsigned char lead)
{
    if (lead < 0x80)
        return 1;
    if (lead < 0xe0)
        return 2;
    return lead < 0xf0 ? 3 : 4;
}

} // namespace

std::string ClipboardBytes::text() const
{
    std::string_view kept = bytes;
    if (kept.ends_with('\0'))
        kept.remove_suffix(1);
    bool const isLatin1 = encoding == ClipboardEncoding::latin1 ||
                          (encoding == ClipboardEncoding::unsaid && !text::isUtf8(kept));
    return isLatin1 ? utf8FromLatin1(kept) : text::repaired(kept);
}

OfferedText::OfferedText(std::string text) : utf8(text::isUtf8(text) ? std::move(text) : text::repaired(text))
{
    if (!isAscii(utf8))
        other = latin1FromUtf8(utf8);
}

std::string utf8FromLatin1(std::string_view bytes)
{
    auto const above = std::ranges::count_if(bytes, [](char c) { return (c & 0x80) != 0; });
    std::string text;
    text.reserve(bytes.size() + static_cast<std::size_t>(above));
    for (char const each : bytes) {
        auto const c = static_cast<unsigned char>(each);
        if (c < 0x80) {
            text += each;
            continue;
        }
        text += static_cast<char>(0xc0 | (c >> 6));
        text += static_cast<char>(0x80 | (c & 0x3f));
    }
    return text;
}

std::string latin1FromUtf8(std::string_view text)
{
    std::string bytes;
    bytes.reserve(text.size());
    for (std::size_t at = 0; at < text.size();) {
        auto const lead = static_cast<unsigned char>(text[at]);
        std::size_t const length = lengthOfSequence(lead);
        if (lead < 0x80)
            bytes += text[at];
        else if ((lead == 0xc2 || lead == 0xc3) && at + 1 < text.size())
            bytes += static_cast<char>((lead << 6) | (text[at + 1] & 0x3f));
        else
            bytes += '?';
        at += length;
    }
    return bytes;
}

std::optional<std::vector<AtomPair>> parseAtomPairs(std::string_view value)
{
    if (value.empty() || value.size() % sizeof(AtomPair) != 0)
        return std::nullopt;
    std::vector<AtomPair> pairs(value.size() / sizeof(AtomPair));
    std::memcpy(pairs.data(), value.data(), value.size());
    return pairs;
}

} // namespace zelvo
