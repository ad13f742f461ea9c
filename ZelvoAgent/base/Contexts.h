#pragma once

#include "base/Task.h"

namespace zelvo {

/// The three places where code runs (ARCHITECTURE.md, Threads). In tests all three may be one io_context.
struct Contexts {
    Executor main;    ///< the toolkit's event loop; AgentState and all windows
    Executor agent;   ///< one thread with one io_context; sockets, descriptors and every strand
    Executor workers; ///< a small thread pool for blocking calls and long computations
};

} // namespace zelvo
