#pragma once

#include "platform/HotKey.h"
#include "platform/linux/wayland/shell/ShellPresence.h"

#include <atomic>
#include <memory>

namespace zelvo {

/// The hot key as an accelerator of GNOME Shell, which our extension registers.
class ShellHotKey final : public HotKey {
public:
    ShellHotKey(Executor main, BusConnection& bus, ShellPresence& presence);

    void start(std::function<void()> onPressed) override;
    /// Whether the shell has given us the key. Never waits. Thread: any.
    bool isGrabbed() const { return *grabbed && presence.isPresent(); }

private:
    Executor main;
    BusConnection& bus;
    ShellPresence& presence;
    std::shared_ptr<std::atomic<bool>> grabbed = std::make_shared<std::atomic<bool>>(false);
};

} // namespace zelvo
