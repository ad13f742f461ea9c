#pragma once

#include <sys/types.h>

namespace zelvo {

/// The processor time of a process so far, in seconds.
double processorTime(pid_t pid);

} // namespace zelvo
