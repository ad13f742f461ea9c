#pragma once

#include "base/Clock.h"

#include <filesystem>
#include <string>
#include <vector>

namespace zelvo::service {

/// Takes a shared folder of recordings for the store with this id: the file "zelvo-gateway" in it names the
/// owner. Throws RecordingFilesError if it names another one, or if there are recordings without that file.
void claimFolder(std::filesystem::path const& folder, std::string const& owner);

/// Removes from the list what was written within this time, by the clock of the folder's file system; all of
/// it if that can't be found out.
void keepOlder(std::vector<std::filesystem::path>& files, std::filesystem::path const& folder, Duration age);

} // namespace zelvo::service
