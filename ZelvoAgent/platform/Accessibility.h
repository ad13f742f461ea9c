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

/// The attributes that can be read of an element, by their wire names ("AXRole" and so on).
enum class AccessibilityAttribute {
    role,                  ///< text
    subrole,               ///< text
    title,                 ///< text
    description,           ///< text
    value,                 ///< text where the element has editable text; never for a password field
    help,                  ///< text; a tooltip's, if it has one
    identifier,            ///< text
    enabled,               ///< flag
    focused,               ///< flag
    isDefault,             ///< flag: Return presses it in its form or window
    isForm,                ///< flag: a form of a page
    parent,                ///< element
    children,              ///< elements
    windows,               ///< elements, of an application
    focusedWindow,         ///< element, of an application
    focusedUiElement,      ///< element, of an application: the one with the keyboard focus
    currentMenuItem,       ///< element, of an application: of an open menu that leaves the focus where it was
    defaultButton,         ///< element, of an application: what Return presses in its focused window
    menuBar,               ///< element, of an application
    manualAccessibility,   ///< flag, of an application; setting it wakes Chromium
    enhancedUserInterface, ///< flag, of an application
};

/// An element. The handle is valid only with the reader that returned it.
struct AccessibilityElement {
    std::uint32_t index = 0;
    bool operator==(AccessibilityElement const&) const = default;
};

/// An element by the name that readers of its process find it by.
struct NamedElement {
    std::int32_t pid = 0;
    std::string name; ///< empty for one that no later reader finds
    bool operator==(NamedElement const&) const = default;
};

/// What became of an attempt to operate an element.
enum class ElementDeed {
    done,       ///< the application did it, or is still at it: it may have opened a dialog that it waits for
    impossible, ///< the element has nothing that does this
    refused,    ///< the application says no
};

/// Announces what a walk will read, so that a reader can send many questions ahead. It changes only the
/// speed, never an answer.
struct AccessibilityPlan {
    int maxDepth = 0; ///< of the walk's roots: 0
    Instant deadline; ///< when the walk ends; until then a silent application is asked again
    /// True if the walk reads more than the role and the children of an element of this role. Empty: no walk
    /// follows and nothing is read ahead.
    std::function<bool(std::string_view role)> describes;
    /// Whether elements of another process may be read. Called once per process, on the reading thread.
    std::function<bool(std::int32_t pid)> allowsProcess;
};

/// Reads the elements of one application, in the order of the calls. An attribute is `nullopt` if it cannot
/// be read or if the application does not answer within the messaging time-out. The handle of a destroyed
/// element stays valid and reads `nullopt`. The application's data is not trusted and is bounded: a text to
/// 64 KiB of valid UTF-8, all texts together to 8 MiB, a list of children to its first 10,000.
/// Thread: one; blocks.
/// Made by: platform/linux/atspi/AtspiReader, tests/fakes/FakeAccessibility.
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
    /// The upper left corner, in points of the main display. `nullopt` for an element that is not showing.
    virtual std::optional<DesktopPoint> position(AccessibilityElement element) = 0;
    /// Width and height in points.
    virtual std::optional<DesktopSize> size(AccessibilityElement element) = 0;
    virtual std::vector<std::string> actionNames(AccessibilityElement element) = 0;
    /// The deepest element that the application draws at a point of the main display, including elements of
    /// allowed processes embedded in it. Windows of other applications on top are ignored. `nullopt` outside
    /// the application's windows. Wakes Chromium.
    virtual std::optional<AccessibilityElement> elementAt(DesktopPoint point) = 0;
    /// The process that an element belongs to.
    virtual std::optional<std::int32_t> processOf(AccessibilityElement element) = 0;
    /// True if something may be missing: the application or a process inside it was silent for the messaging
    /// time-out or until the plan's deadline, a question came too late, or the text limit was reached.
    virtual bool hasFallenSilent() const = 0;

    /// Whether places are relative to the upper left corner of the element's window, because nothing says
    /// where windows are. Nobody may point at such a place.
    virtual bool isRelative() { return false; }
    /// A name by which later readers of this process find the element. Empty if none will, as for an element
    /// of another process.
    virtual std::string nameOf(AccessibilityElement) { return {}; }
    /// The element of that name, if a click could reach it: it shows, in the application's active window or
    /// in what pops up.
    virtual std::optional<AccessibilityElement> find(std::string const&) { return std::nullopt; }
    /// Performs the action that presses an element.
    virtual ElementDeed press(AccessibilityElement) { return ElementDeed::impossible; }
    /// Puts a text in place of all that an element holds. text  UTF-8
    virtual ElementDeed replaceText(AccessibilityElement, std::string const&)
    {
        return ElementDeed::impossible;
    }

    /// False if the application refuses or does not answer.
    virtual bool setFlag(AccessibilityElement element, AccessibilityAttribute attribute, bool value) = 0;
};

/// The accessibility system of the desktop.
/// Thread: any; each reader belongs to one thread.
/// Made by: platform/linux/atspi/AtspiAccessibility, tests/fakes/FakeAccessibility.
class Accessibility {
public:
    virtual ~Accessibility() = default;
    /// Returns a reader also for an application that does not answer; nothing can be read then. Blocks for a
    /// few milliseconds.
    /// messagingTimeout  how long the application may be silent
    virtual std::unique_ptr<AccessibilityReader> reader(std::int32_t pid, Duration messagingTimeout) = 0;
    /// Whether readers give relative places at the moment. Never waits.
    virtual bool isRelative() { return false; }
    /// Calls the observer, on the main executor, when an application was asked for that cannot be read until
    /// it restarts; once per process. Set at start and never changed.
    virtual void observeUnreadable(std::function<void(std::int32_t pid)> observer) = 0;
    /// Makes applications that start from now on publish their elements. Resumes when the desktop has
    /// accepted or refused.
    virtual Task<> switchOn() = 0;
    /// Undoes switchOn if that changed anything.
    virtual Task<> switchOff() = 0;
};

} // namespace zelvo
