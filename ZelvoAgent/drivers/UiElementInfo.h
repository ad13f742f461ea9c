#pragma once

#include "base/Geometry.h"

#include <optional>
#include <string>
#include <vector>

namespace zelvo {

/// An element of an application's interface, as agents see it. Texts are UTF-8.
struct UiElementInfo {
    /// In points of the main display, or of the element's window if the snapshot is relative; width and
    /// height are positive.
    struct Frame {
        double x = 0;
        double y = 0;
        double w = 0;
        double h = 0;
        bool operator==(Frame const&) const = default;

        DesktopPoint center() const { return {x + w * 0.5, y + h * 0.5}; }
    };

    std::string id;   ///< "e" and its index in the snapshot: "e0", "e1" and so on
    std::string role; ///< for example "AXButton"
    std::optional<std::string> subrole;
    std::optional<std::string> title;
    std::optional<std::string> elementDescription;
    std::optional<std::string> value; ///< the first 200 characters; absent for a password field
    std::optional<std::string> identifier;
    Frame frame;
    bool enabled = true;
    bool focused = false;
    std::vector<std::string> actions;
    bool operator==(UiElementInfo const&) const = default;

    /// The element as one line: [e12] button "Send" (120,44 80x24) focused
    /// isRelative  the frame is, and the line says so: (in window 120,44 80x24)
    std::string compactLine(bool isRelative = false) const;
};

} // namespace zelvo
