#pragma once

#include "base/Contexts.h"
#include "base/Task.h"
#include "platform/Installation.h"

#include <functional>

namespace zelvo {

/// Ends this process and has a program started after it. Thread: main. Lives as long as the process.
class Relaunch {
public:
    struct Services {
        Contexts contexts;
        Installation& installation;
        std::function<void()> terminate; ///< ends the process in the normal way
    };

    enum class Successor {
        installedCopy, ///< the person's installed copy
        runningProgram ///< the file of this process, which may be another version by then
    };

    explicit Relaunch(Services services) : services(std::move(services)) {}
    Relaunch(Relaunch const&) = delete;
    Relaunch& operator=(Relaunch const&) = delete;

    /// Arranges the start, then ends the process. False, and nothing ends, if the start cannot be arranged.
    /// Only one start is ever arranged: a call after or during another returns true and does nothing.
    Task<bool> into(Successor which);

private:
    Services services;
    bool isArranged = false;
};

} // namespace zelvo
