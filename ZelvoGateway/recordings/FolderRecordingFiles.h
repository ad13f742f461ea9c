#pragma once

#include "ZelvoGateway/recordings/RecordingFiles.h"

#include <filesystem>

namespace zelvo::service {

/// Files in a folder of mode 0700, each of mode 0600: "ID.mp4" for a recording, "ID.part" for a draft.
class FolderRecordingFiles final : public RecordingFiles {
public:
    explicit FolderRecordingFiles(std::filesystem::path path) : path(std::move(path)) {}

    /// Creates the folder if it is missing.
    std::uint64_t freeBytes() const override;
    /// The folder must exist.
    std::unique_ptr<RecordingDraft> draft(std::string const& id, std::uint64_t bytes) const override;
    std::shared_ptr<ByteSource const> open(std::string const& id) const override;
    void remove(std::string const& id) const override;
    void removeAllBut(std::set<std::string> const& ids) const override;

    /// The name of a recording's file.
    static std::string nameOf(std::string const& id) { return id + ".mp4"; }

private:
    std::filesystem::path file(std::string const& id) const { return path / nameOf(id); }

    std::filesystem::path path;
};

} // namespace zelvo::service
