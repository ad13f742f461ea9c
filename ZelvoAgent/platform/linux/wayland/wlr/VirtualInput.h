#pragma once

#include "base/AsyncMutex.h"
#include "base/Contexts.h"
#include "platform/linux/wayland/InputSink.h"
#include "platform/linux/wayland/client/WaylandClient.h"

#include <functional>
#include <memory>
#include <string>

namespace zelvo {

/// InputSink by zwlr_virtual_pointer and zwp_virtual_keyboard, on a connection that nothing else uses. Keys
/// have the meaning that the seat's keymap gives them, in its first layout. Keys and buttons that are held
/// when it ends are released. Text arrives as fast as the compositor passes it on, so who types a long one
/// types it in parts: a program that does not read its events is disconnected by the compositor after some
/// thousand.
class VirtualInput final : public InputSink {
public:
    /// Whether the compositor offers both protocols.
    static bool isOffered(WaylandClient const& client);
    /// Null if it does not, or cannot be reached. Blocks for some milliseconds. Make it early: programs take
    /// a moment to notice a new keyboard.
    static std::unique_ptr<VirtualInput> create(Contexts contexts);
    /// Blocks until the compositor has taken the releases, at most 200 ms.
    ~VirtualInput() override;

    bool isReady() const override;
    Task<bool> moveTo(LogicalPoint point) override;
    Task<bool> button(int button, bool isDown) override;
    Task<bool> scroll(int clicksDown, int clicksRight) override;
    Task<bool> key(int key, bool isDown) override;
    Task<> drained() override;
    Task<bool> type(std::string text) override;

private:
    class Devices;
    VirtualInput(Contexts contexts, std::unique_ptr<Devices> devices);
    Task<bool> with(std::function<bool(Devices&)> events);

    Contexts contexts;
    AsyncMutex posting;
    std::unique_ptr<Devices> devices; // posting, except for isReady() and the end
};

} // namespace zelvo
