#include "ZelvoGateway/mcp/tools/ElementWait.h"

#include "ZelvoGateway/base/Failure.h"
#include "ZelvoGateway/mcp/tools/ElementRoles.h"
#include "ZelvoGateway/mcp/tools/Look.h"
#include "base/Text.h"

#include <algorithm>
#include <utility>

namespace zelvo::service {

namespace {

// A machine carries out one command at a time, so a long wait goes to it in pieces: others can act between
// them, and a cancelled wait holds the machine no longer than this.
constexpr Duration maxMachineWait = 2s;
constexpr Duration pollPeriod = 500ms;

std::int64_t msIn(Duration duration)
{
    return std::max<std::int64_t>(std::chrono::duration_cast<std::chrono::milliseconds>(duration).count(), 0);
}

json::object paramsOf(ElementWait const& wait, std::string const& scope, Duration left)
{
    json::object params{
        {"until", wait.until}, {"scope", scope}, {"timeoutMs", msIn(std::min(left, maxMachineWait))}};
    if (wait.role)
        params["role"] = wireRole(*wait.role);
    if (wait.name)
        params["name"] = *wait.name;
    if (wait.value)
        params["value"] = *wait.value;
    return params;
}

std::optional<SeenElement> elementIn(json::object const& result)
{
    json::object const* const element = read::object(result, "element");
    if (!element)
        return std::nullopt;
    json::object tree;
    tree["elements"] = json::array{*element};
    if (json::value const* const origin = result.if_contains("framesRelativeTo"))
        tree["framesRelativeTo"] = *origin;
    auto elements = seenElements(tree);
    return elements.empty() ? std::nullopt : std::optional(std::move(elements.front()));
}

/// One wait at the machine; `nullopt` if its agent does not know the method.
Task<std::optional<ElementWaitResult>> askMachine(MachineCallPtr call, json::object params)
{
    try {
        CommandResult const result = co_await call->run("ui.wait", std::move(params));
        json::object const* const answer = result.value.if_object();
        if (!answer)
            throw Failure{.code = ErrorCode::internalError, .message = "The machine's answer makes no sense"};
        co_return ElementWaitResult{.isMatched = read::boolean(*answer, "matched").value_or(false),
                                    .elapsedMs = 0,
                                    .element = elementIn(*answer)};
    } catch (Failure const& failure) {
        if (failure.code != ErrorCode::invalidRequest)
            throw;
    }
    call->seen().lacksWait = true;
    co_return std::nullopt;
}

class Criteria {
public:
    explicit Criteria(ElementWait const& wait)
        : role(wait.role ? shownRole(*wait.role) : ""), name(text::lowercased(wait.name.value_or(""))),
          value(wait.value ? std::optional(seenValue(*wait.value)) : std::nullopt), until(wait.until)
    {
    }

    /// The element that is waited for; null if there is none.
    SeenElement const* matchIn(SeenTree const& tree) const
    {
        for (ReferencedElement const& one : tree.elements)
            if (isMeant(one.element) && isReady(one.element))
                return &one.element;
        return nullptr;
    }

private:
    bool isMeant(SeenElement const& element) const
    {
        bool const hasValue = !value || until == "value" || element.value == *value;
        return hasValue && (role.empty() || element.role == role) &&
               (name.empty() || text::lowercased(element.name).find(name) != std::string::npos);
    }
    bool isReady(SeenElement const& element) const
    {
        if (until == "enabled")
            return element.isEnabled;
        return until != "value" || element.value == value.value_or("");
    }

    std::string role;
    std::string name;
    std::optional<std::string> value;
    std::string until;
};

Task<ElementWaitResult> poll(MachineCallPtr call, ElementWait wait, Instant end)
{
    Criteria const criteria(wait);
    TreeView const view{.scope = call->seen().view.scope, .isInteractiveOnly = false};
    bool wasEmpty = false;
    for (;;) {
        auto const tree = co_await readTree(call, view);
        SeenElement const* const match = criteria.matchIn(*tree);
        // Between two windows there is nothing for a moment.
        bool const isEmpty = tree->elements.empty();
        bool const isGone = !match && !tree->isTruncated && (!isEmpty || wasEmpty);
        wasEmpty = isEmpty;
        if (wait.until == "disappears" ? isGone : match != nullptr)
            co_return ElementWaitResult{.isMatched = true,
                                        .element = match ? std::optional(*match) : std::nullopt};
        if (call->clock().now() + pollPeriod > end)
            co_return ElementWaitResult{};
        co_await call->clock().sleep(pollPeriod);
    }
}

} // namespace

Task<ElementWaitResult> waitForElement(MachineCallPtr call, ElementWait wait)
{
    Instant const start = call->clock().now();
    Instant const end = start + wait.timeout;
    ElementWaitResult result;
    do {
        Duration const left = end - call->clock().now();
        std::optional<ElementWaitResult> answer;
        if (!call->seen().lacksWait) {
            json::object params = paramsOf(wait, call->seen().view.scope, left);
            answer = co_await askMachine(call, std::move(params));
        }
        bool const isDone = !answer;
        result = answer ? *std::move(answer) : co_await poll(call, wait, end);
        if (isDone)
            break;
    } while (!result.isMatched && call->clock().now() < end);
    result.elapsedMs = msIn(call->clock().now() - start);
    co_return result;
}

} // namespace zelvo::service
