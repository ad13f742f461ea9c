#pragma once

#include "platform/linux/screen/PixelRegion.h"

#include <chrono>
#include <cstdint>
#include <map>
#include <set>
#include <unordered_set>
#include <vector>

namespace zelvo {

/// The children of the root window: where each one is or was a moment ago, and which of them the last picture
/// showed. All areas are on the root window, borders included. Thread: one at a time.
class ShownWindows {
public:
    /// The window has this place now. True if the server has given it new pixels: it is mapped, with a new
    /// size.
    bool notePlace(std::uint32_t window, PixelRect const& area);
    /// The window has become a child of the root. Its place is unknown until the next survey.
    void noteArrival(std::uint32_t window) { places.try_emplace(window); }
    void noteMapped(std::uint32_t window) { places[window].isMapped = true; }
    void noteUnmapped(std::uint32_t window);
    void noteEnd(std::uint32_t window);
    /// What a survey found.
    void set(std::uint32_t window, PixelRect const& area) { places[window] = {area, true}; }

    /// The windows that a picture showed whole, so that their pixels may be in others, too.
    void setKept(std::unordered_set<std::uint32_t> windows) { kept = std::move(windows); }
    bool isKept(std::uint32_t window) const { return kept.contains(window); }
    void dropKept(std::uint32_t window) { kept.erase(window); }

    /// The windows that are not kept whose pixels the screen may show where `window` is;
    /// StalePixelTracker::unknown is one of them if it can't tell.
    std::set<std::uint32_t> below(std::uint32_t window);
    /// The windows on the screen.
    std::set<std::uint32_t> mapped() const;

private:
    using Time = std::chrono::steady_clock::time_point;
    struct Place {
        PixelRect area; ///< empty if unknown
        bool isMapped = false;
    };
    /// The area of a window that has just left it.
    struct Left {
        std::uint32_t window = 0;
        PixelRect area;
        Time until;
    };
    void noteLeft(std::uint32_t window, Place const& place);

    std::map<std::uint32_t, Place> places;
    std::vector<Left> left;
    std::unordered_set<std::uint32_t> kept;
};

} // namespace zelvo
