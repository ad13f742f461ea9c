#pragma once

#include <filesystem>

namespace zelvo {

/// Exchanges the names of two folders of one file system in one step. False, with errno set, if that is not
/// possible; nothing changed then. Thread: any.
bool exchangeFolders(std::filesystem::path const& one, std::filesystem::path const& other);

} // namespace zelvo
