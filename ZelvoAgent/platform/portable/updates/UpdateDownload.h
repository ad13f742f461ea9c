#pragma once

#include "platform/HttpLoading.h"
#include "platform/portable/files/UniqueFd.h"
#include "platform/portable/updates/UpdateFeed.h"
#include "platform/portable/updates/UpdateKey.h"

#include <cstdint>
#include <filesystem>
#include <functional>

namespace zelvo {

/// The file of an archive while it is downloaded, in a private folder. What an earlier run left of the same
/// archive is continued; files of other archives are removed.
/// Thread: one at a time.
class UpdateDownload {
public:
    /// folder  exists
    UpdateDownload(std::filesystem::path const& folder, UpdateArchive archive);

    /// Receives what is missing. Throws NetworkFailure, or UpdateAbort for another status than success.
    Task<> receive(HttpLoading& http, std::function<bool(std::int64_t)> onProgress) const;
    /// The archive, if length and signature are right; what is wrong is removed. Throws UpdateAbort. Blocks.
    UniqueFd verified(UpdateKey const& key) const;
    void remove() const;
    /// Whether a folder holds a download, complete or not.
    static bool isIn(std::filesystem::path const& folder);
    static void removeAll(std::filesystem::path const& folder);

private:
    UpdateArchive archive;
    std::filesystem::path file;
};

} // namespace zelvo
