#pragma once

#include "confirm/ProbedElement.h"
#include "platform/Accessibility.h"

#include <optional>
#include <string>

namespace zelvo {

/// The button that an element is part of: the first element with a button role among the element and its
/// three closest ancestors. Thread: the reader's; blocks.
std::optional<AccessibilityElement> nearestButton(AccessibilityReader& reader, AccessibilityElement from);

/// The window or sheet that contains an element.
struct WindowContext {
    std::optional<std::string> subrole; ///< of the window or sheet
    bool isInSheet = false;
    bool operator==(WindowContext const&) const = default;
};

/// Searches the element and its eleven closest ancestors for a window or sheet; empty if there is none.
WindowContext windowContext(AccessibilityReader& reader, AccessibilityElement from);

/// Whether an element is in a web page.
bool isInPage(AccessibilityReader& reader, AccessibilityElement element);

/// The form of a web page that a field is in.
std::optional<AccessibilityElement> formOf(AccessibilityReader& reader, AccessibilityElement field);

/// The default button of the form of a web page that a field is in: the one in the closest ancestor that has
/// any, but none from beyond the form. `nullopt` outside a page.
std::optional<AccessibilityElement> buttonOfForm(AccessibilityReader& reader, AccessibilityElement field);

/// Reads everything of ProbedElement except the application's name. Never asks for the element's value.
ProbedElement described(AccessibilityReader& reader, AccessibilityElement element);

} // namespace zelvo
