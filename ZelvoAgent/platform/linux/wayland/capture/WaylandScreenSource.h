#pragma once

#include "base/Clock.h"
#include "base/Contexts.h"
#include "platform/ScreenSource.h"
#include "platform/linux/wayland/FrameSource.h"
#include "platform/linux/wayland/MonitorLayout.h"
#include "platform/linux/wayland/capture/HiddenPresence.h"

#include <functional>
#include <set>
#include <string>
#include <vector>

namespace zelvo {

/// Pictures of a compositor's monitors. While a process of an excluded application is connected to the
/// compositor, each picture is composed without its windows, or there is none where the compositor cannot do
/// that. Windows of this program are left out too; where windows cannot be left out, they are covered.
class WaylandScreenSource final : public ScreenSource {
public:
    /// All of it outlives this.
    struct Parts {
        Contexts contexts;
        Clock& clock;
        std::function<MonitorLayout()> monitors;
        std::function<void(std::function<void()>)> observeMonitors;
        FrameSource& frames;
        HiddenPresence const& presence;
        std::function<bool()> isAllowed; ///< whether the person lets this program see the screen
        /// Whether the person shared this monitor.
        std::function<bool(std::uint32_t monitor)> isShared = [](std::uint32_t) { return true; };
    };

    explicit WaylandScreenSource(Parts given);

    std::vector<Display> screens() override;
    Task<std::vector<Display>> capturableDisplays() override;
    Task<Picture> capture(CaptureRequest request) override;
    void observeScreens(std::function<void()> observer) override;

private:
    Task<Picture> take(std::uint32_t id, std::set<std::string> excluded);
    Task<Picture> takeEverything(Monitor monitor);
    Task<Picture> takeWithout(std::uint32_t id, FrameSource::LeftOut leftOut);

    Parts parts;
};

} // namespace zelvo
