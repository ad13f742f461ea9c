#include "Check.h"
#include "FuzzedMessage.h"
#include "desktop/atspi/OfflineBus.h"
#include "platform/linux/wayland/shell/ShellMessages.h"

namespace {

using namespace zelvo;

constexpr char const* variants[] = {"s"};
constexpr char const* signatures[] = {"a(sisssss(iiii)(iiii)suu)(iib)", "(uuuu)a(sisssss(iiii)(iiii)suu)",
                                      "a(sisssss(iiii)(iiii)suu)", "a(s)", "(uuuu)"};

void checkAll(std::vector<CompositorWindow> const& windows)
{
    check(windows.size() <= 1500);
    for (CompositorWindow const& window : windows) {
        check(!window.pid || *window.pid > 0);
        check(window.title.size() <= 4096);
        check(window.frame.width >= 0 && window.frame.height >= 0);
    }
}

} // namespace

/// What the extension of GNOME Shell answers: messages of the expected and of other types.
extern "C" int LLVMFuzzerTestOneInput(std::uint8_t const* data, std::size_t size)
{
    static test::OfflineBus const bus;
    fuzz::FuzzedMessage input({reinterpret_cast<char const*>(data), size}, {variants});
    std::string_view const signature = signatures[input.next() % std::size(signatures)];
    auto const message = bus.message([&](sd_bus_message* made) { input.append(made, signature); });
    if (!message)
        return 0;
    if (auto const look = readShellLook(message.get())) {
        checkAll(look->windows);
        checkAll(look->chrome);
    }
    sd_bus_message_rewind(message.get(), 1);
    if (auto const picture = readShellPicture(message.get())) {
        checkAll(picture->windows);
        checkAll(picture->chrome);
        check(picture->stride >= std::uint64_t{4} * picture->width && picture->width && picture->height);
    }
    return 0;
}
