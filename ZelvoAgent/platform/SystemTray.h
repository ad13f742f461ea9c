#pragma once

#include <cstdint>
#include <functional>
#include <optional>

namespace zelvo {

/// A colour, 8 bits a channel.
struct Rgb {
    std::uint8_t red = 0;
    std::uint8_t green = 0;
    std::uint8_t blue = 0;
    bool operator==(Rgb const&) const = default;
};

struct TrayState {
    bool isPresent = false;        ///< something shows tray icons
    std::optional<Rgb> foreground; ///< for symbolic icons; `nullopt` if the tray does not say
    bool operator==(TrayState const&) const = default;
};

/// The area of the desktop's panel that shows icons of programs. A desktop may have none, and it may start or
/// end at any time.
/// Thread: any. Made by: platform/linux/tray/LinuxSystemTray, tests/fakes/FakeDesktop.h.
class SystemTray {
public:
    virtual ~SystemTray() = default;
    /// Does not wait. Just after the start the first answers may still be under way.
    virtual TrayState current() const = 0;
    /// Called on the main executor after each change. Observers are added at start and never removed.
    virtual void observe(std::function<void()> observer) = 0;
};

} // namespace zelvo
