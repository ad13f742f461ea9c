#pragma once

#include <atomic>
#include <cstdint>

namespace zelvo {

/// The window that an application has grabbed the keyboard for, as menus, launchers and password prompts do:
/// it receives the keys, whichever window has the focus. The server reports grabs but can't be asked about
/// them. Thread: any.
class KeyboardGrab {
public:
    /// 0 when no window is known to have the keyboard.
    std::uint32_t window() const { return holder; }

    void begin(std::uint32_t window) { holder = window; }
    void end() { holder = 0; }
    void end(std::uint32_t window) { holder.compare_exchange_strong(window, 0); }

private:
    std::atomic<std::uint32_t> holder = 0;
};

} // namespace zelvo
