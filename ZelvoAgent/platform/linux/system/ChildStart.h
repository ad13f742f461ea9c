#pragma once

#include "platform/ChildProcess.h"
#include "platform/portable/files/UniqueFd.h"

#include <sys/types.h>

namespace zelvo {

/// A process that was just started: our ends of what ties it to us.
struct StartedChild {
    pid_t pid = 0;   ///< of the process and of its group, ours until the process is reaped
    UniqueFd pidFd;  ///< readable when it has ended
    UniqueFd output; ///< the reading ends of its pipes
    UniqueFd error;
};

/// Starts a program in a session and process group of its own. Nothing of ours reaches it but the
/// environment, the folder and the descriptors 0 to 2: no other descriptor, no blocked, ignored or handled
/// signal. Takes until the program is loaded. Throws LaunchFailure; then nothing of it ran. Thread: any.
StartedChild startChild(ChildLaunch const& launch);

} // namespace zelvo
