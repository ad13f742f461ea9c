#pragma once

#include "base/Clock.h"
#include "base/Contexts.h"

#include <cstdint>
#include <functional>
#include <optional>

namespace zelvo {

/// Waits until the application in front is seen at rest, with the processes that draw its pages: no protocol
/// of Wayland says whether it has handled its input.
class WaylandDelivery {
public:
    /// front  the process in front; `nullopt` if it is unknown. Blocks
    WaylandDelivery(Contexts contexts, Clock& clock, std::function<std::optional<std::int32_t>()> front)
        : contexts(std::move(contexts)), clock(clock), front(std::move(front))
    {
    }

    /// False if it is busy for longer, or if nothing is known to be in front.
    Task<bool> wait();

private:
    Contexts contexts;
    Clock& clock;
    std::function<std::optional<std::int32_t>()> front;
};

} // namespace zelvo
