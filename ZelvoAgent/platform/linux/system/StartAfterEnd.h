#pragma once

#include <sys/types.h>

#include <string>

namespace zelvo {

/// Starts a program, without arguments and with this process's environment, once a process has ended. A shell
/// in a separate session waits for that end; it looks five times a second. False if the shell cannot be
/// started. Blocks until the shell is loaded. Thread: any.
bool startAfterEndOf(pid_t process, std::string const& program);

} // namespace zelvo
