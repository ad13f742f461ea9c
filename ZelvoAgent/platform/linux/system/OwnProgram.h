#pragma once

#include <sys/types.h>

namespace zelvo {

/// Whether a process runs the same program file as this one, or the one that an update has replaced by it.
/// This is as much as one process can learn about another of the same user, and enough to give no secret to a
/// program that has only taken our name. Reads /proc.
bool runsOwnProgram(pid_t pid);

} // namespace zelvo
