#pragma once

#include "ZelvoGateway/base/Failure.h"
#include "ZelvoGateway/mcp/ToolFailure.h"
#include "ZelvoGateway/mcp/tools/CallTurns.h"
#include "ZelvoGateway/mcp/tools/DesktopCommands.h"
#include "ZelvoGateway/mcp/tools/SeenMachine.h"
#include "base/Hop.h"

#include <memory>
#include <string>
#include <type_traits>
#include <utility>

namespace zelvo::service {

/// What the tools work with.
struct ToolServices {
    std::shared_ptr<DesktopCommands> commands;
    Clock& clock;
    Executor server;
    Executor workers;
    PictureLimits pictures = {};
};

/// One call of a tool on one machine. Its parts are shared, so that a call can outlive its client; it has its
/// turn until its end.
/// Thread: the server's.
class MachineCall {
public:
    MachineCall(ToolServices services,
                ReachedMachine machine,
                std::shared_ptr<SeenMachine> seen,
                std::string client,
                CallTurns::Turn turn)
        : services(std::move(services)), machine(std::move(machine)), seenMachine(std::move(seen)),
          client(std::move(client)), turn(std::move(turn))
    {
    }

    static constexpr Duration maxBusy = std::chrono::seconds(10);

    /// Runs a command. If the machine is busy it tries again, for maxBusy in all.
    /// patience   how long it waits at most while another agent is in control
    /// Throws     Failure
    Task<CommandResult> run(std::string method, json::object params = {}, Duration patience = maxBusy);
    /// Runs a command with large params, which are not kept for another try.
    Task<CommandResult> runOnce(std::string method, json::object params);
    /// The main display's size; `nullopt` if there is none.
    Task<std::optional<DisplaySize>> displaySize();
    /// Where the pointer is. Throws Failure.
    Task<ScreenPoint> cursor();

    Clock& clock() const { return services.clock; }
    Executor server() const { return services.server; }
    Executor workers() const { return services.workers; }
    PictureLimits pictures() const { return services.pictures; }
    ReachedMachine const& target() const { return machine; }
    SeenMachine& seen() const { return *seenMachine; }
    /// What it waits for, for people.
    std::string const& activity() const { return doing; }

private:
    DesktopCommand commandOf(std::string method, json::object params);

    ToolServices services;
    ReachedMachine machine;
    std::shared_ptr<SeenMachine> seenMachine;
    std::string client;
    CallTurns::Turn turn;
    std::string doing = "waiting for the computer";
};

using MachineCallPtr = std::shared_ptr<MachineCall>;

/// Reads what a machine answered: a large answer on the workers, because it would delay everybody else.
/// bytes   of the answer
template <class F, class R = std::invoke_result_t<F&>>
Task<R> readAnswer(MachineCallPtr call, std::size_t bytes, F read)
{
    constexpr std::size_t large = 64 << 10;
    if (bytes <= large)
        co_return read();
    co_return co_await on(call->workers(), std::move(read));
}

/// What a failed command means for a model.
ToolFailure toolFailure(Failure const& failure);

} // namespace zelvo::service
