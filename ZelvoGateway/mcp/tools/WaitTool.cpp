#include "ZelvoGateway/base/Failure.h"
#include "ZelvoGateway/mcp/TreeLines.h"
#include "ZelvoGateway/mcp/tools/ElementWait.h"
#include "ZelvoGateway/mcp/tools/Look.h"
#include "ZelvoGateway/mcp/tools/Observation.h"
#include "ZelvoGateway/mcp/tools/Tools.h"

#include <algorithm>
#include <optional>
#include <utility>

namespace zelvo::service {

namespace {

constexpr std::int64_t usualTimeoutMs = 10'000;

ElementWait waitOf(json::object const& arguments)
{
    ElementWait wait{
        .role = read::text(arguments, "role"),
        .name = read::text(arguments, "name"),
        .value = read::text(arguments, "value"),
        .until = read::text(arguments, "until").value_or("appears"),
        .timeout = std::chrono::milliseconds(read::integer(arguments, "timeoutMs").value_or(usualTimeoutMs))};
    if (wait.role && wait.role->empty())
        wait.role.reset();
    if (wait.name && wait.name->empty())
        wait.name.reset();
    auto const refused = [](std::string what) {
        return ToolFailure{.code = ErrorCode::invalidRequest, .what = std::move(what)};
    };
    if (!wait.role && !wait.name && !wait.value)
        throw refused(R"(Give "role", "name" or "value" of an element, or "op" of a pending call)");
    if (wait.until == "value" && !wait.value)
        throw refused(R"("until" value needs "value")");
    return wait;
}

std::string statusOf(ElementWait const& wait, ElementWaitResult const& result)
{
    std::string const ms = std::to_string(result.elapsedMs) + " ms";
    if (!result.isMatched)
        return "not matched after " + ms;
    if (wait.until == "disappears")
        return "gone after " + ms;
    return "matched after " + ms;
}

bool isSame(SeenElement const& left, SeenElement const& right)
{
    return left.role == right.role && left.name == right.name && left.identifier == right.identifier &&
           left.frame == right.frame;
}

std::optional<ReferencedElement> elementIn(SeenTree const& tree, SeenElement const& element)
{
    auto const found = std::ranges::find_if(
        tree.elements, [&](ReferencedElement const& one) { return isSame(one.element, element); });
    return found == tree.elements.end() ? std::nullopt : std::optional(*found);
}

/// The element in a new tree; `nullopt` if it is in none, or if there is none.
Task<std::optional<ReferencedElement>> lookUp(MachineCallPtr call, SeenElement element)
{
    auto const newest = call->seen().newest();
    if (newest && newest->taken == call->clock().now()) // It was read for the wait itself.
        co_return elementIn(*newest, element);
    TreeView view = call->seen().view;
    try {
        auto tree = co_await readTree(call, view);
        auto found = elementIn(*tree, element);
        if (!found && std::exchange(view.isInteractiveOnly, false)) {
            tree = co_await readTree(call, view);
            found = elementIn(*tree, element);
        }
        co_return found;
    } catch (Failure const&) {
        co_return std::nullopt; // It matched before.
    }
}

/// The element as a line, with its reference if it has one.
Task<std::string> lineOf(MachineCallPtr call, SeenElement element)
{
    auto const found = co_await lookUp(call, element);
    ReferencedElement shown = found.value_or(ReferencedElement{.reference = "", .element = element});
    shown.element.frame = call->seen().space.toShown(shown.element.frame);
    co_return elementLine(shown);
}

} // namespace

Task<McpToolResult> desktopWait(MachineCallPtr call, json::object arguments)
{
    ElementWait wait = waitOf(arguments);
    ElementWaitResult result = co_await waitForElement(call, wait);
    Deed deed{.status = statusOf(wait, result)};
    ObservationRequest request{.what = read::text(arguments, "observe").value_or("none"), .settleMs = {}};
    if (request.what == "none" && result.element) {
        deed.lines.push_back(co_await lineOf(call, *std::move(result.element)));
        deed.holdsData = true;
    }
    co_return co_await observed(call, std::move(deed), std::move(request));
}

} // namespace zelvo::service
