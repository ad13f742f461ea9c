#pragma once

#include "base/Clock.h"
#include "base/Contexts.h"
#include "platform/InterfaceWatch.h"

#include <functional>
#include <string>
#include <utility>

namespace zelvo {

/// Watches over the accessibility bus. Each one has a separate connection: the end of the connection ends
/// everything that was asked of applications.
class AtspiInterfaceWatches final : public InterfaceWatches {
public:
    /// address  of the accessibility bus, empty if there is none; called on the workers and may block
    AtspiInterfaceWatches(Contexts contexts, Clock& clock, std::function<std::string()> address)
        : contexts(std::move(contexts)), clock(clock), address(std::move(address))
    {
    }

    Task<std::unique_ptr<InterfaceWatch>> open(Changed changed) override;

private:
    Contexts contexts;
    Clock& clock;
    std::function<std::string()> address;
};

} // namespace zelvo
