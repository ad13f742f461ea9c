#include "ZelvoGateway/mcp/tools/MachineCall.h"

#include "ZelvoGateway/base/Failure.h"
#include "wire/ScopePolicy.h"

#include <algorithm>
#include <utility>

namespace zelvo::service {

namespace {

constexpr Duration busyPause = 500ms;
// Longer than a client waits: the call becomes pending meanwhile.
constexpr std::int64_t confirmationMs = DeliveryBounds::maxConfirmation;

/// The person may be asked before it is carried out.
bool mayAsk(std::string_view method)
{
    return method == "actions.perform" || method == "shell.run" || method == "urls.open" ||
           method == "files.upload.begin";
}

bool hasConfirmationTime(std::string_view method)
{
    return method == "shell.run" || method == "urls.open";
}

} // namespace

DesktopCommand MachineCall::commandOf(std::string method, json::object params)
{
    if (hasConfirmationTime(method))
        params["confirmationTimeoutMs"] = confirmationMs;
    doing = mayAsk(method) ? "waiting for the person at the computer, or for the computer"
                           : "waiting for the computer";
    return {.connection = machine.connection,
            .method = std::move(method),
            .params = std::move(params),
            .client = client,
            .patience = maxBusy};
}

Task<CommandResult> MachineCall::runOnce(std::string method, json::object params)
{
    DesktopCommand command = commandOf(std::move(method), std::move(params));
    co_return co_await services.commands->run(std::move(command));
}

Task<CommandResult> MachineCall::run(std::string method, json::object params, Duration patience)
{
    Instant const end = services.clock.now() + maxBusy;
    for (;;) {
        DesktopCommand command = commandOf(method, params);
        command.patience = std::clamp<Duration>(end - services.clock.now(), Duration{}, patience);
        try {
            co_return co_await services.commands->run(std::move(command));
        } catch (Failure const& failure) {
            // Without a request id the gateway itself says so, and has waited.
            bool const isMachine = failure.code == ErrorCode::machineBusy && !failure.requestId.empty();
            if (!isMachine || services.clock.now() + busyPause > end)
                throw;
        }
        co_await services.clock.sleep(busyPause);
    }
}

Task<std::optional<DisplaySize>> MachineCall::displaySize()
{
    if (machine.display)
        co_return machine.display;
    try {
        CommandResult const result = co_await run("display.info");
        json::object const* const info = result.value.if_object();
        auto const width = info ? read::integer(*info, "widthPoints") : std::nullopt;
        auto const height = info ? read::integer(*info, "heightPoints") : std::nullopt;
        if (width && height && *width > 0 && *height > 0)
            machine.display = DisplaySize{.width = *width, .height = *height};
    } catch (Failure const& failure) {
        if (failure.code != ErrorCode::machineUnavailable && failure.code != ErrorCode::invalidRequest)
            throw;
    }
    co_return machine.display;
}

Task<ScreenPoint> MachineCall::cursor()
{
    CommandResult const result = co_await run("cursor.position");
    json::object const* const position = result.value.if_object();
    auto const x = position ? read::number(*position, "x") : std::nullopt;
    auto const y = position ? read::number(*position, "y") : std::nullopt;
    if (!x || !y)
        throw Failure{.code = ErrorCode::internalError, .message = "The machine's answer makes no sense"};
    co_return ScreenPoint{.x = *x, .y = *y};
}

ToolFailure toolFailure(Failure const& failure)
{
    ToolFailure told{.code = failure.code, .what = failure.message};
    bool const wasSent = !failure.requestId.empty();
    told.holdsData = wasSent;
    if (failure.code == ErrorCode::machineOffline && wasSent)
        told.next = "the effect is unknown, so look first with desktop_see when the computer is back";
    if (failure.code == ErrorCode::notFound)
        told.next = "stop and tell the user that the computer was unlinked";
    return told;
}

} // namespace zelvo::service
