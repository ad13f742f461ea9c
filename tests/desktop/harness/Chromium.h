#pragma once

#include <filesystem>
#include <string>
#include <vector>

namespace zelvo::test {

/// A Chromium without questions and without network access.
/// profile    a separate folder, which Chromium creates
/// arguments  the page and further options
std::vector<std::string> chromiumCommand(std::filesystem::path const& profile,
                                         std::vector<std::string> const& arguments);

} // namespace zelvo::test
