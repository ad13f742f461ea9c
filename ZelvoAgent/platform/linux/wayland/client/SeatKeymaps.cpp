#include "platform/linux/wayland/client/SeatKeymaps.h"

#include "platform/linux/wayland/client/SeatLayout.h"

#include <wayland-client-protocol.h>

#include <filesystem>
#include <fstream>
#include <utility>

namespace zelvo {

/// Thread: the one that reads the connection, except for `text`.
struct SeatKeymaps::State {
    explicit State(std::shared_ptr<WaylandClient> const& connection) : client(connection)
    {
        if (auto* const seat = client->bind<wl_seat>(wl_seat_interface, 5))
            layout.emplace(seat, [this](std::string const& keymap) { text.set(keymap); });
    }

    std::shared_ptr<WaylandClient> client; // Outlives its objects below.
    LockedBox<std::string> text;
    std::optional<SeatLayout> layout;
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
