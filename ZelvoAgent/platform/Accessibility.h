#pragma once

#include "base/Clock.h"
#include "base/Geometry.h"

#include <cstddef>
#include <cstdint>
#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace zelvo {

/// What can be read of an element, by its name on the wire ("AXRole" and so on).
enum class AccessibilityAttribute {
    role,                  ///< text
    subrole,               ///< text
    title,                 ///< text
    description,           ///< text
    value,                 ///< text where the element has editable text; never for a password field
    help,                  ///< text: of a tooltip, where there is one
    identifier,            ///< text
    enabled,               ///< flag
    focused,               ///< flag
    parent,                ///< element
    children,              ///< elements
    windows,               ///< elements, of an application
    focusedWindow,         ///< element, of an application
    focusedUiElement,      ///< element, of an application: the one with the keyboard focus
    menuBar,               ///< element, of an application
    manualAccessibility,   ///< flag, of an application; setting it wakes Chromium
    enhancedUserInterface, ///< flag, of an application
};

/// An element, known to the reader that gave it and to no other.
struct AccessibilityElement {
    std::uint32_t index = 0;
    bool operator==(AccessibilityElement const&) const = default;
};

/// What a walk is going to ask for, so that a reader may ask ahead, many questions at a time. It changes no
/// answer but how fast it comes.
struct AccessibilityPlan {
    int maxDepth = 0; ///< of the walk's roots: 0
    Instant deadline; ///< when the walk ends; until then a silent application is asked again
    /// Is more than the role and the children of an element of this role going to be asked for? Empty: there
    /// is no walk, and nothing is asked ahead.
    std::function<bool(std::string_view role)> describes;
    /// May elements that belong to another process be read? Asked once a process, on the reading thread.
    std::function<bool(std::int32_t pid)> allowsProcess;
};

/// Reads the elements of one application, in the order in which it is asked. What cannot be read, and what
/// the application does not answer within the messaging time-out, is nothing. An element that has gone stays
/// a valid handle that answers nothing. Lengths, numbers and shapes are the application's word and are
/// bounded: a text to 64 KiB of valid UTF-8, all texts to 8 MiB, a list of children to its first 10,000.
/// Thread: one; blocks.
/// Made by: platform/linux/atspi/AtspiReader, tests/fakes/FakeAccessibilityReader.
class AccessibilityReader {
public:
    virtual ~AccessibilityReader() = default;

    /// The application itself.
    virtual AccessibilityElement application() = 0;
    virtual void plan(AccessibilityPlan plan) = 0;

    virtual std::optional<std::string> text(AccessibilityElement element,
                                            AccessibilityAttribute attribute) = 0;
    virtual std::optional<bool> flag(AccessibilityElement element, AccessibilityAttribute attribute) = 0;
    virtual std::optional<AccessibilityElement> element(AccessibilityElement element,
                                                        AccessibilityAttribute attribute) = 0;
    virtual std::optional<std::vector<AccessibilityElement>> elements(AccessibilityElement element,
                                                                      AccessibilityAttribute attribute) = 0;
    /// The upper left corner, in points of the main display. Nothing for an element that is not showing.
    virtual std::optional<DesktopPoint> position(AccessibilityElement element) = 0;
    /// Width and height in points.
    virtual std::optional<DesktopSize> size(AccessibilityElement element) = 0;
    virtual std::vector<std::string> actionNames(AccessibilityElement element) = 0;
    /// The deepest element that the application draws at a point of the main display, those of allowed
    /// processes embedded in it too. It does not look at what other applications lay over it. Nothing outside
    /// of the application's windows. Wakes a Chromium.
    virtual std::optional<AccessibilityElement> elementAt(DesktopPoint point) = 0;
    /// The process that an element belongs to.
    virtual std::optional<std::int32_t> processOf(AccessibilityElement element) = 0;
    /// Has the application, or a process inside it, been silent for the messaging time-out since the plan, or
    /// until its deadline? Was a question too late, or the text too much? Then something may be missing.
    virtual bool hasFallenSilent() const = 0;

    /// False when the application refuses or does not answer.
    virtual bool setFlag(AccessibilityElement element, AccessibilityAttribute attribute, bool value) = 0;
};

/// The accessibility system of the desktop.
/// Thread: any; each reader belongs to one thread.
/// Made by: platform/linux/atspi/AtspiAccessibility, tests/fakes/FakeAccessibility.
class Accessibility {
public:
    virtual ~Accessibility() = default;
    /// A reader of an application, also of one that does not answer: then nothing can be read. Blocks for a
    /// few milliseconds.
    /// messagingTimeout  how long the application may be silent
    virtual std::unique_ptr<AccessibilityReader> reader(std::int32_t pid, Duration messagingTimeout) = 0;
    /// Told of each application that was asked for and cannot be read before it is started anew, once a
    /// process, on the main executor. Set at start and never changed.
    virtual void observeUnreadable(std::function<void(std::int32_t pid)> observer) = 0;
    /// Lets applications that start from now on publish their elements. Resumes when that is done or refused.
    virtual Task<> switchOn() = 0;
    /// Takes switchOn back where it has changed something.
    virtual Task<> switchOff() = 0;
};

} // namespace zelvo
