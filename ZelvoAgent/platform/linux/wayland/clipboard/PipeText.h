#pragma once

#include "base/Clock.h"
#include "base/Task.h"

#include <cstddef>
#include <functional>
#include <memory>
#include <optional>
#include <string>

namespace zelvo {

/// How long the other end of a pipe may take.
struct PipePatience {
    Duration silence = 5s; ///< without a byte
    Duration whole = 30s;
};

/// Reads a pipe to its end, a piece at a time. `nullopt` if the text is longer than `maxSize`, or if the
/// writer takes too long. Thread: agent.
/// pipe  owned
Task<std::optional<std::string>>
readPipe(Executor agent, Clock& clock, int pipe, std::size_t maxSize, PipePatience patience);

/// Writes a text into a pipe and closes it. Ends early if the reader is gone or takes no byte for too long;
/// the whole may take any time. `done` is called on the agent at the end. Thread: agent. SIGPIPE must be
/// ignored.
/// pipe  owned
void writePipe(Executor agent,
               Clock& clock,
               int pipe,
               std::shared_ptr<std::string const> text,
               PipePatience patience,
               std::function<void()> done);

} // namespace zelvo
