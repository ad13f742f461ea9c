#pragma once

#include <filesystem>

namespace zelvo::service {

/// Marks an open file as private to the gateway, so that an agent on this machine refuses it under each of
/// its names. Does nothing on a file system without extended attributes.
void markPrivate(int file);
void markPrivate(std::filesystem::path const& file);

} // namespace zelvo::service
