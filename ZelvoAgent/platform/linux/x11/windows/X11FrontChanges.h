#pragma once

#include "base/Contexts.h"
#include "platform/FrontChanges.h"
#include "platform/linux/x11/X11Connection.h"
#include "platform/linux/x11/X11Events.h"
#include "platform/linux/x11/windows/KeyboardGrab.h"

#include <functional>
#include <memory>
#include <optional>

namespace zelvo {

/// Listens for the active window of the window manager, and for the keyboard focus and grabs on every
/// top-level window, because a window can take the keyboard without the window manager. Uses a separate
/// connection, whose events it reads all.
class X11FrontChanges final : public FrontChanges {
public:
    /// connection  null if the server cannot be reached; then nothing is reported
    X11FrontChanges(Contexts const& contexts, std::shared_ptr<X11Connection> const& connection);
    ~X11FrontChanges() override;

    void observe(std::function<void()> observer) override;
    /// Who has grabbed the keyboard, since this object was made; never null.
    std::shared_ptr<KeyboardGrab const> keyboardGrab() const { return grab; }

private:
    class Listener;

    std::shared_ptr<KeyboardGrab> const grab = std::make_shared<KeyboardGrab>();
    std::shared_ptr<Listener> listener; ///< null without a server
    std::optional<X11Events> events;
};

} // namespace zelvo
