#pragma once

#include "platform/portable/files/UniqueFd.h"

#include <cstdint>
#include <filesystem>
#include <functional>
#include <mutex>
#include <optional>
#include <string>
#include <string_view>
#include <utility>

namespace zelvo {

/// A version that was installed and has not yet sent a heartbeat.
struct UpdateTrial {
    std::string program; ///< the program's file
    std::string from;    ///< the version before it, which is kept
    std::string to;
    int starts = 0; ///< that did not end in the normal way and did not run for long
    bool operator==(UpdateTrial const&) const = default;
};

/// What the updates remember from one run of the program to the next: the file `update.json`.
struct UpdateRecord {
    std::string newest;       ///< the highest version that a feed has ever offered; an older feed is a replay
    std::string rejected;     ///< a version that could not start here
    std::string notInstalled; ///< a version that was ready, but could not take its place
    std::int64_t lastCheck = 0; ///< seconds since 1970, of the last check that was completed
    std::optional<UpdateTrial> trial;
    bool operator==(UpdateRecord const&) const = default;
};

/// An unreadable text is an empty record. Thread: any.
UpdateRecord parseUpdateRecord(std::string_view text);
std::string writeUpdateRecord(UpdateRecord const& record);

/// The record in its private folder, replaced in one step. Thread: any; blocks for the disk.
class UpdateRecords {
public:
    explicit UpdateRecords(std::filesystem::path folder) : path(std::move(folder)) {}

    std::filesystem::path const& folder() const { return path; }
    /// An unreadable record is an empty one.
    UpdateRecord read() const;
    /// Reads, changes and writes, without another change in between. What has changed is on disk afterwards.
    /// False, with errno set, if it can't be written.
    bool change(std::function<void(UpdateRecord&)> const& changing);

private:
    UniqueFd lockOut() const;

    std::filesystem::path path;
    std::mutex lock; // of a change; other processes are kept out by a lock on the folder
};

} // namespace zelvo
