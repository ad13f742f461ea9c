#include "desktop/atspi/TreeWalk.h"

#include <algorithm>
#include <chrono>

namespace zelvo::test {

namespace {

using enum AccessibilityAttribute;

class Walker {
public:
    Walker(AccessibilityReader& reader, Clock& clock, WalkOptions const& options)
        : reader(reader), clock(clock), options(options), deadline(clock.now() + options.budget)
    {
    }

    Walk result;

    void walk(AccessibilityElement element, int depth)
    {
        if (depth > options.maxDepth || kept >= options.maxElements || clock.now() > deadline) {
            result.isTruncated = true;
            return;
        }
        describe(element, depth);
        auto const below = reader.elements(element, children);
        if (!below)
            return;
        for (AccessibilityElement const child : *below) {
            if (result.isTruncated)
                return;
            walk(child, depth + 1);
        }
    }

private:
    void describe(AccessibilityElement element, int depth)
    {
        auto const axRole = reader.text(element, role);
        if (!axRole)
            return;
        WalkedElement met{.handle = element, .depth = depth, .role = *axRole};
        if (options.describes(*axRole))
            describeMore(met);
        result.elements.push_back(std::move(met));
    }

    void describeMore(WalkedElement& met)
    {
        AccessibilityElement const element = met.handle;
        met.position = reader.position(element);
        met.size = reader.size(element);
        if (!met.position || !met.size || met.size->width <= 0 || met.size->height <= 0)
            return;
        ++kept;
        met.title = reader.text(element, title);
        met.description = reader.text(element, description);
        met.identifier = reader.text(element, identifier);
        met.actions = reader.actionNames(element);
        if (met.role != "AXSecureTextField")
            met.value = reader.text(element, value);
        met.subrole = reader.text(element, subrole);
        met.enabled = reader.flag(element, enabled);
        met.focused = reader.flag(element, focused);
    }

    AccessibilityReader& reader;
    Clock& clock;
    WalkOptions const& options;
    Instant deadline;
    std::size_t kept = 0;
};

} // namespace

WalkedElement const* Walk::find(std::string const& wanted) const
{
    auto const element =
        std::ranges::find_if(elements, [&](WalkedElement const& one) { return one.title == wanted; });
    return element == elements.end() ? nullptr : &*element;
}

Walk walk(AccessibilityReader& reader,
          Clock& clock,
          std::vector<AccessibilityElement> roots,
          WalkOptions const& options)
{
    auto const began = std::chrono::steady_clock::now();
    if (options.readsAhead) {
        AccessibilityPlan plan{.maxDepth = options.maxDepth,
                               .deadline = clock.now() + options.budget,
                               .describes = options.describes,
                               .allowsProcess = options.allowsProcess};
        reader.plan(std::move(plan));
    }
    Walker walker(reader, clock, options);
    for (AccessibilityElement const root : roots)
        if (!walker.result.isTruncated)
            walker.walk(root, 0);
    walker.result.took = std::chrono::steady_clock::now() - began;
    return std::move(walker.result);
}

Walk walkWindows(AccessibilityReader& reader, Clock& clock, WalkOptions const& options)
{
    auto const began = std::chrono::steady_clock::now();
    auto windows = reader.elements(reader.application(), AccessibilityAttribute::windows);
    Walk done = walk(reader, clock, windows.value_or(std::vector<AccessibilityElement>()), options);
    done.took = std::chrono::steady_clock::now() - began;
    return done;
}

} // namespace zelvo::test
