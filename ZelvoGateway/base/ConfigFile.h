#pragma once

#include "ZelvoGateway/base/Flags.h"

#include <cstddef>
#include <filesystem>
#include <string>
#include <string_view>
#include <vector>

namespace zelvo::service {

/// What a configuration file says, and everything that is wrong with it: "FILE:3: port: ...".
struct ConfigReading {
    GivenValues values; ///< those that can be used
    std::vector<std::string> problems;
};

/// A configuration file: lines "name = value" with the names of flags without "--". Switches are "yes" or
/// "no". Blank lines count for nothing, nor do those whose first character is "#".
class ConfigFile {
public:
    static constexpr std::size_t maxBytes = 256_KiB;
    static constexpr std::size_t maxProblems = 20; ///< that are listed

    /// Reads a file that nobody else may write: one of this user or of root, without write access for others.
    static ConfigReading read(std::filesystem::path const& file);
    /// name   of the file, for problems
    static ConfigReading parse(std::string_view text, std::string const& name);
};

} // namespace zelvo::service
