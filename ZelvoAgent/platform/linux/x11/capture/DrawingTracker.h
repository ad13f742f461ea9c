#pragma once

#include "platform/linux/applications/DesktopEntries.h"
#include "platform/linux/screen/PixelRegion.h"
#include "platform/linux/x11/capture/ShownLayout.h"
#include "platform/linux/x11/capture/WindowWatch.h"

#include <chrono>
#include <cstdint>
#include <map>
#include <memory>
#include <mutex>
#include <optional>
#include <set>
#include <string>
#include <vector>

namespace zelvo {

class WindowOwners;
class X11Connection;

/// Finds out where an X screen was drawn to, as far as pictures show it. The server reports drawing only of
/// windows that pictures show, so a hidden application's costs nothing and is never known here. Drawing on
/// the root itself, under all windows, does not count. Uses two connections, for windows and for drawing.
/// Thread: one at a time, unless a member says otherwise; blocks.
class DrawingTracker {
public:
    /// Null if the server can't be reached or lacks DAMAGE or XFIXES.
    /// entries  must outlive it
    /// ignored  a window whose mapping and unmapping do not matter
    static std::shared_ptr<DrawingTracker> open(DesktopEntries& entries, std::uint32_t ignored);
    ~DrawingTracker();
    DrawingTracker(DrawingTracker const&) = delete;
    DrawingTracker& operator=(DrawingTracker const&) = delete;

    /// Where pictures may have changed since the last call; the first one gives everything. Takes two round
    /// trips, and a survey if windows have changed.
    /// display   on the root window
    /// excluded  applications that pictures leave out
    std::vector<PixelRect> take(PixelRect const& display, std::set<std::string> const& excluded);
    /// Takes the events that have arrived; true if take() may have something to give. Thread: any.
    bool takeEvents();
    /// False if the server is gone. Thread: any.
    bool isAlive() const;

    std::shared_ptr<X11Connection> const windows;
    std::shared_ptr<X11Connection> const drawings;

private:
    DrawingTracker(std::shared_ptr<X11Connection> windows,
                   std::shared_ptr<X11Connection> drawings,
                   DesktopEntries& entries,
                   std::uint32_t ignored);

    /// What decides what pictures show, beside the windows.
    struct Given {
        PixelRect display;
        std::set<std::string> excluded;
        bool isComposited = false;
        bool operator==(Given const&) const = default;
    };

    bool isComposited() const;
    std::optional<ShownLayout> look(Given given);
    void surveyAnew();
    PixelRegion unsureAfter(PixelRegion leftOutChanges);
    void follow(ShownLayout const& next);
    void appendDrawing(std::vector<PixelRect>& all, PixelRegion const& unsure);

    DesktopEntries& entries;
    WindowWatch changes;
    std::mutex lock;
    std::set<std::uint32_t> drawn; ///< lock; windows that were drawn to since the last look

    WindowSurvey survey;
    std::shared_ptr<DesktopEntryIndex const> index;
    std::unique_ptr<WindowOwners> owners;
    Given last;
    ShownLayout layout;
    std::map<std::uint32_t, std::uint32_t> damages; ///< the server's objects by window
    PixelRegion lastLeftOutChanges;                 ///< the last ones
    std::chrono::steady_clock::time_point leftOutChangedAt{};
};

} // namespace zelvo
