#pragma once

#include "confirm/ProbedElement.h"
#include "platform/Accessibility.h"

#include <optional>
#include <string>

namespace zelvo {

/// The button that an element is part of: the first with a button's role among the element and the three
/// above it. Thread: the reader's; blocks.
std::optional<AccessibilityElement> nearestButton(AccessibilityReader& reader, AccessibilityElement from);

/// Where an element stands.
struct WindowContext {
    std::optional<std::string> subrole; ///< of the window or sheet
    bool isInSheet = false;
    bool operator==(WindowContext const&) const = default;
};

/// Looks for the window or sheet among the element and the eleven above it; nothing known without one.
WindowContext windowContext(AccessibilityReader& reader, AccessibilityElement from);

/// All that is told of an element but the name of its application. Its value is not asked for.
ProbedElement described(AccessibilityReader& reader, AccessibilityElement element);

} // namespace zelvo
