#pragma once

#include "base/Clock.h"
#include "base/Contexts.h"
#include "platform/ScreenSource.h"
#include "platform/linux/applications/DesktopEntries.h"
#include "platform/linux/screen/PixelRegion.h"
#include "platform/linux/x11/X11DisplayLayout.h"
#include "platform/linux/x11/X11Events.h"

#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <vector>

namespace zelvo {

class X11Capture;

/// Pictures of the X screen. Blocking work runs on the workers, one picture at a time.
class X11ScreenSource final : public ScreenSource {
public:
    /// Blocks for a moment to open a separate connection, and keeps all windows redirected into memory while
    /// it lives. Captures nothing from a server that lacks what pictures need.
    /// shared  null if the server can't be reached; then nothing can be captured
    X11ScreenSource(Contexts given,
                    Clock& clock,
                    std::shared_ptr<X11Connection> shared,
                    X11DisplayLayout& layout,
                    DesktopEntries& entries);
    ~X11ScreenSource() override;

    std::vector<Display> screens() override;
    Task<std::vector<Display>> capturableDisplays() override;
    Task<Picture> capture(CaptureRequest request) override;
    void observeScreens(std::function<void()> observer) override;
    /// True if a picture would succeed now. Does not ask the server. Thread: any.
    bool canCapture() const;
    /// What the server lacks for pictures, by the names of the extensions. Thread: any.
    std::vector<std::string> missing() const;
    /// A window that is mapped and unmapped while pictures are taken, invisible to users; 0 if there is none.
    std::uint32_t ownWindow() const;

private:
    PixelRect areaOf(CaptureRequest const& request) const;

    Contexts contexts;
    Clock& clock;
    std::shared_ptr<X11Connection> connection;
    X11DisplayLayout& layout;
    std::shared_ptr<X11Capture> pictures; // strand; null when nothing can be captured
    Executor strand;                      // a strand on the workers
    std::optional<X11Events> events;
};

} // namespace zelvo
