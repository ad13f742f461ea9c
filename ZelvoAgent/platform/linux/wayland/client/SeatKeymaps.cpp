#include "platform/linux/wayland/client/SeatKeymaps.h"

#include "platform/portable/files/UniqueFd.h"

#include <sys/mman.h>
#include <wayland-client-protocol.h>

#include <filesystem>
#include <fstream>
#include <utility>

namespace zelvo {

namespace {

constexpr std::uint32_t maxKeymap = 4u << 20; // Bytes; usual ones have 60 KB.

std::string textIn(UniqueFd descriptor, std::uint32_t size)
{
    if (size == 0 || size > maxKeymap)
        return {};
    void* const memory = ::mmap(nullptr, size, PROT_READ, MAP_PRIVATE, descriptor.get(), 0);
    if (memory == MAP_FAILED)
        return {};
    std::string text(static_cast<char const*>(memory), size);
    ::munmap(memory, size);
    text.resize(std::min(text.find('\0'), text.size()));
    return text;
}

} // namespace

/// Thread: the one that reads the connection, except for `text`.
struct SeatKeymaps::State {
    explicit State(std::shared_ptr<WaylandClient> const& connection)
        : client(connection), seat(client->bind<wl_seat>(wl_seat_interface, 5))
    {
        if (seat)
            wl_seat_add_listener(seat.get(), &seatListener, this);
    }

    static State& of(void* data) { return *static_cast<State*>(data); }
    static void capabilities(void* data, wl_seat* seat, std::uint32_t offered)
    {
        auto& keyboard = of(data).keyboard;
        if (!(offered & WL_SEAT_CAPABILITY_KEYBOARD)) {
            keyboard.reset();
        } else if (!keyboard) {
            keyboard.reset(wl_seat_get_keyboard(seat));
            wl_keyboard_add_listener(keyboard.get(), &keyboardListener, data);
        }
    }
    static void keymap(void* data, wl_keyboard*, std::uint32_t format, int descriptor, std::uint32_t size)
    {
        UniqueFd owned(descriptor);
        if (format == WL_KEYBOARD_KEYMAP_FORMAT_XKB_V1)
            of(data).text.set(textIn(std::move(owned), size));
    }
    static constexpr wl_seat_listener seatListener{.capabilities = capabilities,
                                                   .name = [](void*, wl_seat*, char const*) {}};
    // Only windows get the other events, and this connection has none.
    static constexpr wl_keyboard_listener keyboardListener{
        .keymap = keymap,
        .enter = [](void*, wl_keyboard*, std::uint32_t, wl_surface*, wl_array*) {},
        .leave = [](void*, wl_keyboard*, std::uint32_t, wl_surface*) {},
        .key = [](void*, wl_keyboard*, std::uint32_t, std::uint32_t, std::uint32_t, std::uint32_t) {},
        .modifiers = [](void*,
                        wl_keyboard*,
                        std::uint32_t,
                        std::uint32_t,
                        std::uint32_t,
                        std::uint32_t,
                        std::uint32_t) {},
        .repeat_info = [](void*, wl_keyboard*, int, int) {}};

    std::shared_ptr<WaylandClient> client; // Outlives its objects below.
    LockedBox<std::string> text;
    std::unique_ptr<wl_seat, ReleaseProxy<wl_seat_release>> seat;
    std::unique_ptr<wl_keyboard, ReleaseProxy<wl_keyboard_release>> keyboard;
};

SeatKeymaps::SeatKeymaps(Contexts const& contexts, std::shared_ptr<WaylandClient> client)
{
    if (!client)
        return;
    state = std::make_shared<State>(client);
    client->roundtrip(); // Capabilities,
    client->roundtrip(); // then the keymap.
    events.emplace(contexts, std::move(client), state);
}

SeatKeymaps::~SeatKeymaps() = default;

std::string SeatKeymaps::current() const
{
    return state ? state->text.get() : std::string();
}

bool isCapsLockLit()
{
    std::error_code ignored;
    for (auto const& light : std::filesystem::directory_iterator("/sys/class/leds", ignored)) {
        if (!light.path().filename().string().ends_with("::capslock"))
            continue;
        int brightness = 0;
        if (std::ifstream(light.path() / "brightness") >> brightness && brightness > 0)
            return true;
    }
    return false;
}

} // namespace zelvo
