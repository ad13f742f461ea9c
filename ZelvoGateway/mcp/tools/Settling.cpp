#include "ZelvoGateway/mcp/tools/Settling.h"

#include "ZelvoGateway/base/Failure.h"
#include "ZelvoGateway/mcp/SeenElement.h"

#include <algorithm>
#include <optional>
#include <utility>
#include <vector>

namespace zelvo::service {

namespace {

constexpr std::int64_t maxWaitMs = 3'000;
constexpr Duration minBetweenTrees = 300ms;

std::int64_t msSince(Instant start, Instant now)
{
    return std::chrono::duration_cast<std::chrono::milliseconds>(now - start).count();
}

using Elements = std::vector<SeenElement>;

/// Whether there is no tree, although there may be a picture.
bool isTreeless(ErrorCode code)
{
    return code == ErrorCode::machineUnavailable || code == ErrorCode::permissionMissing ||
           code == ErrorCode::hiddenAppActive || code == ErrorCode::zelvoUIProtected;
}

/// The elements in front, without the ids that every tree gives anew. Empty if they cannot be read.
Task<Elements> elementsInFront(MachineCallPtr call)
{
    json::object params{{"scope", "frontmost"}, {"interactiveOnly", true}, {"format", "json"}};
    Elements elements;
    try {
        CommandResult const result = co_await call->run("ui.tree", std::move(params));
        json::object const* const tree = result.value.if_object();
        auto const read = [tree] { return tree ? seenElements(*tree) : Elements(); };
        elements = co_await readAnswer(call, result.bytes, read);
    } catch (Failure const& failure) {
        if (!isTreeless(failure.code))
            throw;
    }
    for (SeenElement& element : elements)
        element.id.clear();
    co_return elements;
}

Task<Settling> lookTwice(MachineCallPtr call, Duration quiet)
{
    Instant const start = call->clock().now();
    Duration const pause = std::max(quiet, minBetweenTrees);
    Elements before = co_await elementsInFront(call);
    while (!before.empty()) {
        co_await call->clock().sleep(pause);
        Elements now = co_await elementsInFront(call);
        bool const isAtRest = now == before;
        std::int64_t const elapsed = msSince(start, call->clock().now());
        if (isAtRest || (elapsed >= maxWaitMs && !now.empty()))
            co_return Settling{.isAtRest = isAtRest, .elapsedMs = elapsed};
        before = std::move(now);
    }
    co_await call->clock().sleep(quiet);
    co_return Settling{.isAtRest = std::nullopt, .elapsedMs = msSince(start, call->clock().now())};
}

/// `nullopt` if the agent cannot say.
Task<std::optional<Settling>> askAgent(MachineCallPtr call, std::int64_t quietMs)
{
    json::object params{{"quietMs", quietMs}, {"timeoutMs", maxWaitMs + quietMs}};
    try {
        CommandResult const result = co_await call->run("screen.settle", std::move(params));
        json::object const* const settled = result.value.if_object();
        if (!settled)
            co_return std::nullopt;
        co_return Settling{.isAtRest = read::boolean(*settled, "settled").value_or(false),
                           .elapsedMs = read::integer(*settled, "elapsedMs").value_or(0)};
    } catch (Failure const& failure) {
        if (failure.code == ErrorCode::invalidRequest)
            call->seen().lacksSettle = true;
        else if (failure.code != ErrorCode::internalError) // The system does not report what is drawn.
            throw;
    }
    co_return std::nullopt;
}

} // namespace

Task<Settling> settle(MachineCallPtr call, std::int64_t quietMs)
{
    if (!call->seen().lacksSettle)
        if (auto const settled = co_await askAgent(call, quietMs))
            co_return *settled;
    co_return co_await lookTwice(call, std::chrono::milliseconds(quietMs));
}

std::string settlingText(Settling settling)
{
    std::string const ms = std::to_string(settling.elapsedMs) + " ms";
    if (!settling.isAtRest)
        return "waited " + ms + ", but whether the screen is at rest is not known";
    return (*settling.isAtRest ? "settled " : "not settled after ") + ms;
}

} // namespace zelvo::service
