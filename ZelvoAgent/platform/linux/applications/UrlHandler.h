#pragma once

#include <filesystem>
#include <string>

namespace zelvo {

/// Makes the application of a desktop entry the person's default for a type, "x-scheme-handler/zelvo" for
/// instance. The entry must be in one of the desktop's folders. Blocks for the disk. Thread: any.
bool makeDefaultHandler(std::filesystem::path const& entry, std::string const& type);

} // namespace zelvo
