#pragma once

#include "drivers/UiElementInfo.h"
#include "platform/Accessibility.h"

#include <cstddef>
#include <optional>
#include <string_view>
#include <vector>

namespace zelvo {

/// The limits of a walk.
struct TreeLimits {
    int maxDepth = 25; ///< the deepest level that is read; the roots are at level 0
    int maxElements = 1500;
    /// Of all elements together: a reply must not exceed what a gateway takes, although a byte may take six
    /// in JSON and a text be in it twice.
    std::size_t maxTextBytes = 8u << 20;
    Duration totalTimeout = 2s;
    Duration messagingTimeout = 250ms;
};

/// One depth-first walk through the elements of an application. Decides which elements are kept, in which
/// order and how deep. Thread: one; blocks until the walk ends or reaches a limit.
class TreeWalk {
public:
    TreeWalk(AccessibilityReader& reader,
             Clock const& clock,
             TreeLimits limits,
             Instant deadline,
             bool interactiveOnly)
        : reader(reader), clock(clock), limits(limits), deadline(deadline), interactiveOnly(interactiveOnly)
    {
    }

    /// Reads the roots and their descendants, in order.
    void run(std::vector<AccessibilityElement> const& roots);

    std::vector<UiElementInfo> collected;
    std::vector<std::string> names; ///< of these elements, if their frames are relative
    /// True if a limit ended the walk; the elements after that point are missing.
    bool truncated = false;

    /// Longer values are cut after so many characters.
    static constexpr std::size_t maxValueLength = 200;

    /// True for roles that a person can operate.
    static bool isInteractive(std::string_view role);

private:
    void walk(AccessibilityElement element, int depth);
    void keep(UiElementInfo info, AccessibilityElement element);
    std::optional<UiElementInfo> describe(AccessibilityElement element, std::size_t index);
    std::optional<UiElementInfo::Frame> frameOf(AccessibilityElement element);
    bool hasSomethingToSay(UiElementInfo const& info, AccessibilityElement element);

    AccessibilityReader& reader;
    Clock const& clock;
    TreeLimits const limits;
    Instant const deadline;
    bool const interactiveOnly;
    std::size_t textBytes = 0; ///< of what is collected
};

} // namespace zelvo
