#pragma once

#include <filesystem>
#include <string>
#include <vector>

namespace zelvo::test {

/// Chromium that asks nothing and looks for nothing on the network. profile: a folder of its own, which it
/// makes; arguments: the page among them.
std::vector<std::string> chromiumCommand(std::filesystem::path const& profile,
                                         std::vector<std::string> const& arguments);

} // namespace zelvo::test
