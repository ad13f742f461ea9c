#pragma once

#include "base/Contexts.h"
#include "platform/WindowFocus.h"

#include <memory>

namespace zelvo {

/// The keyboard's place by the X server, and requests to the window manager as a pager makes them, so that it
/// does not take them for an application's that wants to steal the keyboard. Without a window manager it does
/// itself what can be done. It opens a connection of its own when it is first asked; without a server there
/// is no window.
class X11WindowFocus final : public WindowFocus {
public:
    explicit X11WindowFocus(Contexts const& contexts);
    ~X11WindowFocus() override;

    std::uint32_t activeWindow() override;
    std::uint32_t idOf(OwnWindow const& window) override { return window.nativeId; }
    void putInFront(std::uint32_t window, std::uint32_t over) override;
    void activate(std::uint32_t window) override;
    WindowStanding standing(std::uint32_t window) override;
    /// Makes a window active, going to its workspace and unrolling it, which window managers do not all do by
    /// themselves.
    void bringBack(std::uint32_t window);
    bool isKeyDown() override;

private:
    class Requests;
    std::shared_ptr<Requests> const requests;
};

} // namespace zelvo
