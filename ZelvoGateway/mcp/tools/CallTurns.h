#pragma once

#include "ZelvoGateway/mcp/tools/Wakeup.h"
#include "base/Clock.h"
#include "base/Task.h"

#include <cstddef>
#include <deque>
#include <map>
#include <memory>
#include <string>
#include <utility>

namespace zelvo::service {

/// Bounds how many calls of one key run on one machine. The others wait for their turn: conversations take
/// turns, so that one with many calls does not delay the rest.
/// Thread: that of its executor. It may end before its turns do.
class CallTurns {
    struct State;

public:
    static constexpr std::size_t maxRunning = 4;       ///< of one key on one machine
    static constexpr std::size_t maxWaiting = 64;      ///< of one key for one machine
    static constexpr std::size_t maxWaitingOfOne = 32; ///< of one conversation
    static constexpr Duration maxWait = std::chrono::seconds(30);

    /// Holds a turn until its end.
    class Turn {
    public:
        Turn() = default;
        Turn(std::shared_ptr<State> state, std::string place)
            : state(std::move(state)), place(std::move(place))
        {
        }
        Turn(Turn&& other) noexcept = default;
        Turn& operator=(Turn&& other) = delete;
        ~Turn();

    private:
        std::shared_ptr<State> state;
        std::string place;
    };

    CallTurns(Executor executor, Clock& clock);
    CallTurns(CallTurns const&) = delete;
    CallTurns& operator=(CallTurns const&) = delete;
    ~CallTurns() = default;

    /// Waits for a turn.
    /// name           what is shared, such as a key and a machine
    /// conversation   who asks
    /// Throws         ToolFailure: machineBusy if too many wait, or after maxWait
    Task<Turn> take(std::string name, std::string conversation);
    /// Keys and machines with calls that run or wait.
    std::size_t places() const;

private:
    std::shared_ptr<State> state;
};

} // namespace zelvo::service
