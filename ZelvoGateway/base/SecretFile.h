#pragma once

#include <cstddef>
#include <filesystem>
#include <string>

namespace zelvo::service {

/// Reads a small file that only its owner may read: this user or root, without access for others. Links are
/// followed. Throws std::runtime_error that names the file and nothing of its content.
std::string textOfSecretFile(std::filesystem::path const& path, std::size_t maxBytes);

} // namespace zelvo::service
