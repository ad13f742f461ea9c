#include "ZelvoGateway/mcp/tools/PictureFile.h"

#include <cstdint>
#include <utility>

namespace zelvo::service {

namespace {

using Size = std::optional<DisplaySize>;

enum class Order { bigEndian, littleEndian };

std::int64_t byteAt(std::string_view bytes, std::size_t at)
{
    return static_cast<unsigned char>(bytes[at]);
}

/// The number of these bytes, which have to be there.
std::int64_t numberOf(std::string_view bytes, Order order)
{
    std::int64_t number = 0;
    for (std::size_t i = 0; i < bytes.size(); ++i)
        number = number * 256 + byteAt(bytes, order == Order::bigEndian ? i : bytes.size() - 1 - i);
    return number;
}

/// Two numbers of this many bytes, one after the other.
Size twoNumbers(std::string_view bytes, std::size_t at, std::size_t length, Order order)
{
    if (bytes.size() < at + 2 * length)
        return std::nullopt;
    return DisplaySize{.width = numberOf(bytes.substr(at, length), order),
                       .height = numberOf(bytes.substr(at + length, length), order)};
}

Size pngSize(std::string_view bytes)
{
    return twoNumbers(bytes, 16, 4, Order::bigEndian);
}

Size gifSize(std::string_view bytes)
{
    return twoNumbers(bytes, 6, 2, Order::littleEndian);
}

/// Says the size, among the markers of a JPEG.
bool beginsFrame(std::int64_t marker)
{
    return marker >= 0xc0 && marker <= 0xcf && marker != 0xc4 && marker != 0xc8 && marker != 0xcc;
}

Size jpegSize(std::string_view bytes)
{
    std::size_t at = 2;
    while (at + 4 <= bytes.size() && byteAt(bytes, at) == 0xff) {
        std::int64_t const marker = byteAt(bytes, at + 1);
        if (marker == 0xff) { // A filler.
            ++at;
            continue;
        }
        if (beginsFrame(marker)) {
            Size size = twoNumbers(bytes, at + 5, 2, Order::bigEndian);
            if (size) // The height comes first.
                std::swap(size->width, size->height);
            return size;
        }
        at += 2 + static_cast<std::size_t>(numberOf(bytes.substr(at + 2, 2), Order::bigEndian));
    }
    return std::nullopt;
}

Size webpSize(std::string_view bytes)
{
    std::string_view const kind = bytes.substr(12, 4);
    if (kind == "VP8X") { // Both less one.
        Size size = twoNumbers(bytes, 24, 3, Order::littleEndian);
        if (size)
            *size = {.width = size->width + 1, .height = size->height + 1};
        return size;
    }
    constexpr std::int64_t edge = 1 << 14;
    if (kind == "VP8L" && bytes.size() >= 25) { // Both less one, in 14 bits.
        std::int64_t const bits = numberOf(bytes.substr(21, 4), Order::littleEndian);
        return DisplaySize{.width = bits % edge + 1, .height = bits / edge % edge + 1};
    }
    Size size = kind == "VP8 " ? twoNumbers(bytes, 26, 2, Order::littleEndian) : std::nullopt;
    if (size)
        *size = {.width = size->width % edge, .height = size->height % edge};
    return size;
}

PictureFile fileOf(std::string_view mimeType, Size pixels)
{
    bool const isEmpty = pixels && (pixels->width < 1 || pixels->height < 1);
    return {.mimeType = std::string(mimeType), .pixels = isEmpty ? std::nullopt : pixels};
}

} // namespace

std::optional<PictureFile> pictureFile(std::string_view bytes)
{
    if (bytes.starts_with("\x89PNG\r\n\x1a\n"))
        return fileOf("image/png", pngSize(bytes));
    if (bytes.starts_with("\xff\xd8\xff"))
        return fileOf("image/jpeg", jpegSize(bytes));
    if (bytes.starts_with("GIF87a") || bytes.starts_with("GIF89a"))
        return fileOf("image/gif", gifSize(bytes));
    if (bytes.starts_with("RIFF") && bytes.size() > 12 && bytes.substr(8, 4) == "WEBP")
        return fileOf("image/webp", webpSize(bytes));
    return std::nullopt;
}

} // namespace zelvo::service
