#pragma once

#include "platform/ChildProcess.h"
#include "platform/portable/files/UniqueFd.h"

#include <sys/types.h>

namespace zelvo {

/// A process that was just started, with our ends of its pipes.
struct StartedChild {
    pid_t pid = 0;   ///< of the process and of its group, ours until the process is reaped
    UniqueFd pidFd;  ///< readable when it has ended
    UniqueFd output; ///< the reading ends of its pipes
    UniqueFd error;
};

/// Starts a program in a new session and process group. It inherits nothing of ours but the environment, the
/// folder and descriptors 0 to 2: no other descriptor and no blocked, ignored or handled signal. Blocks until
/// the program is loaded. Throws LaunchFailure; then nothing of it ran. Thread: any.
StartedChild startChild(ChildLaunch const& launch);

} // namespace zelvo
