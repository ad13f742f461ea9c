#pragma once

#include "platform/linux/applications/ApplicationWindows.h"
#include "platform/linux/wayland/windows/ActiveProcess.h"
#include "platform/linux/wayland/windows/CompositorWindows.h"

namespace zelvo {

/// The compositor's windows. Where nobody sees them no application has one to bring to the front, so an
/// application that runs is started again; whether it is in front then is known all the same.
class WaylandApplicationWindows final : public ApplicationWindows {
public:
    /// activeProcess  used where there are no windows; may be empty. The reference must outlive this.
    explicit WaylandApplicationWindows(CompositorWindows& desktop, ActiveProcess activeProcess = {});

    OpenableApplication look(std::string const& location) override;
    ApplicationWindow windowOf(std::string const& location, StartMarks const* started) override;
    void bringBack(std::uint32_t window) override;

private:
    CompositorWindows& desktop;
    ActiveProcess activeProcess;
};

} // namespace zelvo
