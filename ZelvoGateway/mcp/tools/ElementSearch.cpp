#include "ZelvoGateway/mcp/tools/ElementSearch.h"

#include "ZelvoGateway/mcp/TreeLines.h"
#include "ZelvoGateway/mcp/tools/Look.h"
#include "ZelvoGateway/mcp/tools/ToolText.h"

#include <utility>

namespace zelvo::service {

namespace {

using Kind = ReferenceMatch::Kind;

constexpr Duration snapshotLifetime = 25s; // A machine keeps one for 30 s.
constexpr std::size_t maxEntries = 10;

std::string bracketed(std::string const& reference)
{
    return "[" + tooltext::shownName(reference) + "]";
}

ToolFailure unknown(std::string const& reference)
{
    return {.code = ErrorCode::invalidRequest,
            .what = bracketed(reference) + " is unknown: it was never given out here for this computer",
            .next = "look with desktop_see and use a reference from its answer"};
}

ToolFailure elsewhere(std::string const& reference, SeenTree const& tree, SeenTree const& now)
{
    return {.code = ErrorCode::appNotFrontmost,
            .what = bracketed(reference) + " belongs to " + tree.applicationName + ", but " +
                    now.applicationName + " is in front",
            .holdsData = true};
}

ToolFailure gone(std::string const& reference)
{
    return {.code = ErrorCode::snapshotExpired,
            .what = bracketed(reference) + " is gone: nothing in front looks like it"};
}

ToolFailure several(std::string const& reference, SeenReference const& seen, ScreenSpace const& space)
{
    auto const& elements = seen.match.elements;
    ToolFailure failure{.code = ErrorCode::snapshotExpired,
                        .what = bracketed(reference) + " is no longer certain: " +
                                (elements.size() == 1 ? "1 element looks"
                                                      : std::to_string(elements.size()) + " elements look") +
                                " like it",
                        .next = "choose one of these",
                        .holdsData = true};
    for (ReferencedElement one : elements) {
        if (failure.lines.size() == maxEntries)
            break;
        one.element.frame = space.toShown(one.element.frame);
        failure.lines.push_back(elementLine(one));
    }
    return failure;
}

bool isUsable(SeenReference const& seen, Instant now)
{
    return seen.match.kind == Kind::found && seen.tree && now - seen.tree->taken < snapshotLifetime;
}

FoundElement found(SeenReference const& seen)
{
    return {.snapshot = seen.tree->snapshot, .element = seen.match.elements.front().element};
}

} // namespace

Task<FoundElement> findElement(MachineCallPtr call, std::string reference, Freshness freshness)
{
    SeenReference seen = call->seen().reference(reference);
    if (seen.match.kind == Kind::unknown || !seen.tree)
        throw unknown(reference);
    if (freshness == Freshness::usual && isUsable(seen, call->clock().now()))
        co_return found(seen);
    auto const before = seen.tree;
    auto const now = co_await readTree(call, before->view);
    if (now->application != before->application)
        throw elsewhere(reference, *before, *now);
    seen = call->seen().reference(reference);
    if (seen.match.kind == Kind::found)
        co_return found(seen);
    if (seen.match.kind == Kind::several)
        throw several(reference, seen, call->seen().space);
    throw gone(reference);
}

} // namespace zelvo::service
