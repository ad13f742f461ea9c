#pragma once

#include <cstdint>
#include <string>

namespace zelvo {

/// Whether the application of a desktop entry is to be started over the session bus.
bool isStartedByBus(std::string const& entryFile);

/// Runs the command of a desktop entry, in the person's terminal emulator where the entry wants one, with a
/// startup id. The program stands on its own, see ProgramStart. Blocks for some milliseconds. Thread: any.
/// Gives the process id, which is that of a process session of its own. Throws std::runtime_error when the
/// entry can't be used or its program is missing.
std::int32_t startEntry(std::string const& entryFile, std::string const& startupId);

} // namespace zelvo
