#pragma once

#include "drivers/UiElementInfo.h"
#include "platform/Accessibility.h"

#include <optional>
#include <string_view>
#include <vector>

namespace zelvo {

/// How far a walk goes.
struct TreeLimits {
    int maxDepth = 25; ///< of the deepest level that is read; the roots stand at 0
    int maxElements = 1500;
    Duration totalTimeout = 2s;
    Duration messagingTimeout = 250ms;
};

/// One walk through the elements of an application, depth first: what is kept, in which order and how far.
/// Thread: one; blocks until the limits are reached.
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

    /// Reads the roots and what is below them, in their order.
    void run(std::vector<AccessibilityElement> const& roots);

    std::vector<UiElementInfo> collected;
    /// A limit ended the walk: whatever would have followed is missing.
    bool truncated = false;

    /// What a person can operate.
    static bool isInteractive(std::string_view role);

private:
    void walk(AccessibilityElement element, int depth);
    std::optional<UiElementInfo> describe(AccessibilityElement element, std::size_t index);
    std::optional<UiElementInfo::Frame> frameOf(AccessibilityElement element);
    bool hasSomethingToSay(UiElementInfo const& info, AccessibilityElement element);

    AccessibilityReader& reader;
    Clock const& clock;
    TreeLimits const limits;
    Instant const deadline;
    bool const interactiveOnly;
};

} // namespace zelvo
