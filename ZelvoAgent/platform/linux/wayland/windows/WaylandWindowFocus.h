#pragma once

#include "platform/WindowFocus.h"
#include "platform/linux/wayland/windows/CompositorWindows.h"

#include <cstdint>
#include <map>
#include <mutex>

namespace zelvo {

/// The keyboard's place as the compositor says it, and its own ways to bring a window to the front. Which
/// keys are down nobody may know here, so none is. Without a source there is no window. While the compositor
/// gives no answer, a window that it once showed counts as being on the screen without the keyboard.
class WaylandWindowFocus final : public WindowFocus {
public:
    /// desktop  must outlive this
    explicit WaylandWindowFocus(CompositorWindows& desktop) : desktop(desktop) {}

    std::uint32_t activeWindow() override;
    /// A window keeps the id that was found first as long as that window exists. A new one takes the newest
    /// window of this process with its title that is no other's: toolkits and compositors append to titles.
    std::uint32_t idOf(OwnWindow const& window) override;
    /// The compositor keeps it above all others, a full-screen one included.
    void putInFront(std::uint32_t window, std::uint32_t over) override;
    void activate(std::uint32_t window) override;
    WindowStanding standing(std::uint32_t window) override;
    bool isKeyDown() override { return false; }

private:
    std::uint32_t newestNamed(WindowSnapshot const& snapshot, std::string const& title) const;

    CompositorWindows& desktop;
    std::mutex lock;
    std::map<std::uint32_t, std::uint32_t> found; // lock; by the toolkit's number
};

} // namespace zelvo
