#pragma once

#include "platform/WindowList.h"
#include "platform/linux/x11/DesktopEntries.h"
#include "platform/linux/x11/X11Connection.h"
#include "platform/linux/x11/X11DisplayLayout.h"

#include <memory>

namespace zelvo {

/// The children of the root window, read anew each time.
class X11WindowList final : public WindowList {
public:
    /// connection: null when the server can't be reached; then there is no list.
    X11WindowList(std::shared_ptr<X11Connection> connection,
                  X11DisplayLayout const& layout,
                  DesktopEntries& entries);

    std::optional<std::vector<WindowEntry>> windows() override;

private:
    std::shared_ptr<X11Connection> connection;
    X11DisplayLayout const& layout;
    DesktopEntries& entries;
};

} // namespace zelvo
