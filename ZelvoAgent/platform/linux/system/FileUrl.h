#pragma once

#include <filesystem>
#include <string>

namespace zelvo {

/// The path of a file in a URL: every byte that is not plain there is percent-encoded.
std::string urlPathOf(std::filesystem::path const& file);

} // namespace zelvo
