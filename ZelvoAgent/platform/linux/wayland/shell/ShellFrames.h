#pragma once

#include "base/AsyncMutex.h"
#include "base/Contexts.h"
#include "platform/linux/wayland/FrameSource.h"
#include "platform/linux/wayland/shell/ShellLink.h"
#include "platform/linux/wayland/shell/ShellPresence.h"

#include <set>
#include <string>

namespace zelvo {

struct ShellPicture;

/// Pictures of GNOME's monitors without some windows, which our extension paints. What another source has is
/// used for pictures of everything. Thread: see FrameSource.
class ShellFrames final : public FrameSource {
public:
    /// link    not used by others, whose questions would wait for a picture
    /// layout  the monitors of the moment; never waits
    /// whole   null if there is none: then everything is painted, too
    ShellFrames(Contexts contexts,
                ShellLink& link,
                ShellPresence& presence,
                std::function<MonitorLayout()> layout,
                FrameSource* whole);

    Task<Picture> everything(std::uint32_t monitor) override;
    bool canLeaveOut() const override { return presence.isPresent(); }
    Task<Picture> without(std::uint32_t monitor, LeftOut leftOut) override;
    bool watchDrawing(std::function<void(std::uint32_t monitor)> drawn) override;
    void setDrawingWanted(bool wanted) override;

private:
    Picture paintWithout(std::string const& connector, LeftOut const& leftOut);
    ShellPicture paint(std::string const& connector, std::set<std::string> const& leftOut, int memory);
    WindowsNow look();

    Contexts contexts;
    ShellLink& link;
    ShellPresence& presence;
    std::function<MonitorLayout()> layout;
    FrameSource* whole;
    AsyncMutex mutex;
};

} // namespace zelvo
