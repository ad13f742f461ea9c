#include "Check.h"
#include "FuzzedMessage.h"
#include "desktop/atspi/OfflineBus.h"
#include "platform/linux/wayland/kwin/KwinImage.h"

namespace {

using namespace zelvo;

constexpr char const* variants[] = {"u", "s", "i", "d", "b", "as"};
constexpr char const* words[] = {"type", "raw", "width", "height", "stride", "scale", "format"};

} // namespace

/// What KWin says of a picture, and the pixels that follow.
extern "C" int LLVMFuzzerTestOneInput(std::uint8_t const* data, std::size_t size)
{
    static test::OfflineBus const bus;
    fuzz::FuzzedMessage input({reinterpret_cast<char const*>(data), size}, {variants, words});
    auto const message = bus.message([&](sd_bus_message* made) { input.append(made, "a{sv}"); });
    if (!message)
        return 0;
    auto const header = kwinImageHeader(readDictionary(message.get()));
    if (!header)
        return 0;
    check(header->width > 0 && header->height > 0 && header->stride >= 4 * header->width);
    constexpr std::size_t quick = 1 << 16;
    if (header->size() > quick)
        return 0;
    KwinImage const image = kwinImage(*header, PixelBuffer(header->size()));
    check(image.pixels.size() == header->size() && image.width == header->width);
    return 0;
}
