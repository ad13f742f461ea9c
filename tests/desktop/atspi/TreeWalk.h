#pragma once

#include "platform/Accessibility.h"

#include <optional>
#include <string>
#include <vector>

namespace zelvo::test {

/// An element as a walk finds it.
struct WalkedElement {
    AccessibilityElement handle;
    int depth = 0;
    std::string role;
    std::optional<std::string> subrole;
    std::optional<std::string> title;
    std::optional<std::string> description;
    std::optional<std::string> identifier;
    std::optional<std::string> value;
    std::optional<DesktopPoint> position;
    std::optional<DesktopSize> size;
    std::optional<bool> enabled;
    std::optional<bool> focused;
    std::vector<std::string> actions;
};

struct WalkOptions {
    int maxDepth = 25;
    std::size_t maxElements = 1500; ///< with a place on the screen
    Duration budget = 2s;
    bool readsAhead = true;
    std::function<bool(std::string_view)> describes = [](std::string_view) { return true; };
    std::function<bool(std::int32_t)> allowsProcess = {};
};

struct Walk {
    std::vector<WalkedElement> elements; ///< all that were met, in order
    bool isTruncated = false;
    Duration took{};

    WalkedElement const* find(std::string const& wanted) const;
};

/// Asks a reader for what a snapshot needs, in the order in which a snapshot asks.
Walk walk(AccessibilityReader& reader,
          Clock& clock,
          std::vector<AccessibilityElement> roots,
          WalkOptions const& options = {});
/// The same, of all windows.
Walk walkWindows(AccessibilityReader& reader, Clock& clock, WalkOptions const& options = {});

} // namespace zelvo::test
