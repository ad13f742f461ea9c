#include "platform/linux/wayland/wlr/VirtualInput.h"

#include "base/Hop.h"
#include "platform/linux/wayland/client/SeatLayout.h"
#include "platform/linux/wayland/client/WaylandOutputs.h"
#include "platform/linux/wayland/wlr/TextKeymap.h"
#include "platform/linux/wayland/wlr/VirtualKeyboard.h"
#include "platform/linux/wayland/wlr/VirtualPointer.h"
#include "virtual-keyboard-unstable-v1-client-protocol.h"
#include "wlr-virtual-pointer-unstable-v1-client-protocol.h"

#include <wayland-client-protocol.h>

#include <algorithm>
#include <chrono>
#include <utility>

namespace zelvo {

namespace {

using Instant = std::chrono::steady_clock::time_point;
using Milliseconds = std::chrono::milliseconds;

/// A program misses what is typed before it has noticed a new keyboard.
constexpr Milliseconds warmUp{150};
/// After this many keys comes a pause, in which programs read them.
constexpr std::size_t keysAtOnce = 50;
constexpr Milliseconds pauseBetween{4};
constexpr Milliseconds patience{1000};
constexpr Milliseconds patienceAtEnd{200};

template <class T, auto release>
using Held = std::unique_ptr<T, ReleaseProxy<release>>;

} // namespace

/// The virtual devices and their connection. Thread: one at a time.
class VirtualInput::Devices {
public:
    explicit Devices(std::shared_ptr<WaylandClient> connection)
        : client(std::move(connection)), keyboards(client->bind<zwp_virtual_keyboard_manager_v1>(
                                             zwp_virtual_keyboard_manager_v1_interface, 1)),
          pointers(
              client->bind<zwlr_virtual_pointer_manager_v1>(zwlr_virtual_pointer_manager_v1_interface, 1)),
          outputs(client), layout(client->bind<wl_seat>(wl_seat_interface, 5)),
          pointer(std::make_unique<VirtualPointer>(pointers.get(), layout.seat())),
          keys(std::make_unique<VirtualKeyboard>(keyboards.get(), layout.seat())),
          text(std::make_unique<VirtualKeyboard>(keyboards.get(), layout.seat()))
    {
    }

    ~Devices()
    {
        text.reset();
        keys.reset();
        pointer.reset();
        // A compositor drops what it has not read when the connection ends.
        client->roundtrip(patienceAtEnd);
    }

    /// Learns the outputs and the layout. False if the compositor does not answer.
    bool start()
    {
        // The second answer describes what was bound after the first one.
        if (!client->roundtrip() || !client->roundtrip() || !followLayout())
            return false;
        readyAt = std::chrono::steady_clock::now() + warmUp;
        return client->roundtrip();
    }

    bool isAlive() const { return client->isAlive(); }

    /// Makes events and hands them over.
    bool post(std::function<bool(Devices&)> const& events)
    {
        if (!client->dispatchArrived() || !awaitWarmUp())
            return false;
        return events(*this) && handOver();
    }

    bool moveTo(LogicalPoint point) { return pointer->moveTo(point, outputs.monitors()); }

    bool key(int code, bool isDown)
    {
        // A new keymap would release what is held, so a release keeps the old one.
        if (isDown && !followLayout())
            return false;
        keys->key(code, isDown);
        return true;
    }

    bool type(std::string const& characters)
    {
        auto const keymaps = keymapsFor(characters);
        if (!keymaps)
            return false;
        for (TextKeymap const& keymap : *keymaps)
            if (!text->setKeymap(keymap.keymap) || !typeAll(keymap.keys))
                return false;
        // The person's next key has its usual meaning.
        keys->takeSeat();
        return true;
    }

    void drain() { client->roundtrip(patience); }

    std::shared_ptr<WaylandClient> client; // Outlives its objects below.

private:
    bool awaitWarmUp()
    {
        auto const left = std::chrono::ceil<Milliseconds>(readyAt - std::chrono::steady_clock::now());
        if (left.count() > 0)
            client->dispatchUntil([] { return false; }, left);
        return client->isAlive();
    }

    /// Takes up the seat's keymap if it has changed.
    bool followLayout()
    {
        if (keys->hasKeymap() && layout.text() == taken)
            return true;
        taken = layout.text();
        return keys->setKeymap(taken);
    }

    bool typeAll(std::vector<int> const& codes)
    {
        for (std::size_t i = 0; i < codes.size(); ++i) {
            text->key(codes[i], true);
            text->key(codes[i], false);
            if ((i + 1) % keysAtOnce != 0)
                continue;
            if (!client->roundtrip(patience))
                return false;
            client->dispatchUntil([] { return false; }, pauseBetween);
        }
        return client->roundtrip(patience);
    }

    bool handOver()
    {
        return client->dispatchArrived() && (!client->hasUnsent() || client->roundtrip(patience));
    }

    Held<zwp_virtual_keyboard_manager_v1, zwp_virtual_keyboard_manager_v1_destroy> keyboards;
    Held<zwlr_virtual_pointer_manager_v1, zwlr_virtual_pointer_manager_v1_destroy> pointers;
    WaylandOutputs outputs;
    SeatLayout layout;

public:
    std::unique_ptr<VirtualPointer> pointer;

private:
    std::unique_ptr<VirtualKeyboard> keys;
    std::unique_ptr<VirtualKeyboard> text;
    std::string taken;
    Instant readyAt;
};

bool VirtualInput::isOffered(WaylandClient const& client)
{
    return client.find(zwp_virtual_keyboard_manager_v1_interface.name) &&
           client.find(zwlr_virtual_pointer_manager_v1_interface.name) && client.find(wl_seat_interface.name);
}

std::unique_ptr<VirtualInput> VirtualInput::create(Contexts contexts)
{
    auto client = WaylandClient::open();
    if (!client || !isOffered(*client))
        return nullptr;
    auto devices = std::make_unique<Devices>(std::move(client));
    if (!devices->start())
        return nullptr;
    return std::unique_ptr<VirtualInput>(new VirtualInput(std::move(contexts), std::move(devices)));
}

VirtualInput::VirtualInput(Contexts contexts, std::unique_ptr<Devices> devices)
    : contexts(std::move(contexts)), devices(std::move(devices))
{
}

VirtualInput::~VirtualInput() = default;

bool VirtualInput::isReady() const
{
    return devices->isAlive();
}

Task<bool> VirtualInput::with(std::function<bool(Devices&)> events)
{
    auto const lock = co_await posting.lock();
    co_return co_await on(contexts.workers, [&] { return devices->post(events); });
}

Task<bool> VirtualInput::moveTo(LogicalPoint point)
{
    return with([point](Devices& now) { return now.moveTo(point); });
}

Task<bool> VirtualInput::button(int button, bool isDown)
{
    return with([button, isDown](Devices& now) {
        now.pointer->button(button, isDown);
        return true;
    });
}

Task<bool> VirtualInput::scroll(int clicksDown, int clicksRight)
{
    return with([clicksDown, clicksRight](Devices& now) {
        now.pointer->scroll(clicksDown, clicksRight);
        return true;
    });
}

Task<bool> VirtualInput::key(int key, bool isDown)
{
    return with([key, isDown](Devices& now) { return now.key(key, isDown); });
}

Task<> VirtualInput::drained()
{
    std::function<bool(Devices&)> const wait = [](Devices& now) {
        now.drain();
        return true;
    };
    co_await with(wait);
}

Task<bool> VirtualInput::type(std::string text)
{
    return with([text = std::move(text)](Devices& now) { return now.type(text); });
}

} // namespace zelvo
