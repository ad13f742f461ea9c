#pragma once

#include "ZelvoGateway/base/OwnedDescriptor.h"
#include "ZelvoGateway/recordings/OpenFile.h"

#include <filesystem>
#include <memory>
#include <optional>
#include <set>
#include <string>
#include <string_view>

namespace zelvo::service {

/// A film that is being written. It is gone at the end unless keep() was called. Thread: one at a time.
class RecordingDraft {
public:
    /// Makes the file and, where the file system can, sets `bytes` aside for it.
    RecordingDraft(std::filesystem::path path, std::filesystem::path target, std::uint64_t bytes);
    RecordingDraft(RecordingDraft const&) = delete;
    RecordingDraft& operator=(RecordingDraft const&) = delete;
    ~RecordingDraft();

    /// Throws std::system_error.
    void write(std::string_view piece);
    /// Makes a film of it, which is on disk when this returns. Throws std::system_error.
    void keep();

private:
    std::filesystem::path draft;
    std::filesystem::path film;
    OwnedDescriptor file;
};

/// Where films lie: a folder of mode 0700, its files 0600. "ID.mp4" is a film, "ID.part" one that comes.
/// Thread: any.
class RecordingFolder {
public:
    explicit RecordingFolder(std::filesystem::path path) : path(std::move(path)) {}

    /// How many bytes there is room for; 0 when there can be no films at all.
    std::uint64_t room() const;
    /// Throws std::system_error.
    std::unique_ptr<RecordingDraft> draft(std::string const& id, std::uint64_t bytes) const;
    /// Null when there is no such film.
    std::shared_ptr<OpenFile const> open(std::string const& id) const;
    void remove(std::string const& id) const;
    /// Removes films and drafts of others than these.
    void removeAllBut(std::set<std::string> const& ids) const;

private:
    std::filesystem::path film(std::string const& id) const { return path / (id + ".mp4"); }

    std::filesystem::path path;
};

} // namespace zelvo::service
