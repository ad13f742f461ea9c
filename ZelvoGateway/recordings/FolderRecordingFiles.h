#pragma once

#include "ZelvoGateway/recordings/RecordingFileName.h"
#include "ZelvoGateway/recordings/RecordingFiles.h"
#include "base/Clock.h"

#include <filesystem>

namespace zelvo::service {

/// How gateways of one store share a folder, which may be on a server. They run as the same user.
struct FolderSharing {
    std::string owner;         ///< the id of the store; empty for a folder of one gateway alone
    Duration othersWrite = 1h; ///< what is younger may be another gateway's work, and is not removed
};

/// Files in a folder of mode 0700, each of mode 0600: "ID.mp4" for a recording, "ID.part" for a draft. A
/// shared one must exist, because an empty place may be one whose file system is not mounted.
class FolderRecordingFiles final : public RecordingFiles {
public:
    explicit FolderRecordingFiles(std::filesystem::path path, FolderSharing sharing = {});

    /// Creates the folder if it is missing and not shared.
    std::uint64_t freeBytes() const override;
    /// The folder must exist.
    std::unique_ptr<RecordingDraft> draft(std::string const& id, std::uint64_t bytes) const override;
    std::shared_ptr<ByteSource const> open(std::string const& id) const override;
    void remove(std::string const& id) const override;
    void removeAllBut(std::set<std::string> const& ids) const override;

    /// The name of a recording's file.
    static std::string nameOf(std::string const& id) { return recordingFileName(id); }

private:
    bool isShared() const { return !sharing.owner.empty(); }
    bool isOther(std::filesystem::path const& found, std::set<std::string> const& ids) const;
    std::filesystem::path file(std::string const& id) const { return path / nameOf(id); }

    std::filesystem::path path;
    FolderSharing sharing;
};

} // namespace zelvo::service
