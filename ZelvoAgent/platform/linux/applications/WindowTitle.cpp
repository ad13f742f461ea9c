#include "platform/linux/applications/WindowTitle.h"

#include "base/Text.h"

namespace zelvo {

namespace {

std::string fromLatin1(std::string const& bytes)
{
    std::string text;
    for (char const byte : bytes) {
        auto const code = static_cast<unsigned char>(byte);
        if (code < 0x80) {
            text += byte;
        } else {
            text += static_cast<char>(0xC0 | (code >> 6));
            text += static_cast<char>(0x80 | (code & 0x3F));
        }
    }
    return text;
}

/// The text without a character at its end that has begun and not ended.
std::string withoutHalfCharacter(std::string bytes)
{
    std::size_t start = bytes.size();
    for (int back = 0; back < 4 && start > 0; ++back) {
        --start;
        if ((static_cast<unsigned char>(bytes[start]) & 0xC0) != 0x80)
            break;
    }
    if (!text::isUtf8(std::string_view(bytes).substr(start)))
        bytes.resize(start);
    return bytes;
}

} // namespace

std::string windowTitle(std::string bytes, bool isLatin1, bool isCut)
{
    std::string whole = isCut ? withoutHalfCharacter(bytes) : bytes;
    if (isLatin1 && !text::isUtf8(whole))
        return fromLatin1(bytes);
    return text::repaired(whole);
}

std::string boundedTitle(std::string const& title)
{
    return windowTitle(title.substr(0, maxTitleBytes), false, title.size() > maxTitleBytes);
}

} // namespace zelvo
