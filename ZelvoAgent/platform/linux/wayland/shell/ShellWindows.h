#pragma once

#include "platform/linux/wayland/WindowSource.h"
#include "platform/linux/wayland/shell/ShellLink.h"
#include "platform/linux/wayland/shell/ShellPresence.h"

namespace zelvo {

/// The windows of GNOME Shell, as our extension reports them. A window's id is its sequence number in the
/// session, which is never used again. Thread: see WindowSource.
class ShellWindows final : public WindowSource {
public:
    ShellWindows(ShellLink& link, ShellPresence& presence);

    std::optional<WindowsNow> look() override;
    void observe(std::function<void()> observer) override;
    bool activate(std::string const& id) override;
    bool putInFront(std::string const& id) override;

private:
    bool command(char const* member, std::string const& id);

    ShellLink& link;
    ShellPresence& presence;
};

} // namespace zelvo
