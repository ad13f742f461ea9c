#pragma once

#include "platform/UserDefaults.h"
#include "wire/Json.h"

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace zelvo {

/// A recording that waits for its upload.
struct PendingRecording {
    std::string path; ///< the recording's file; also identifies the entry
    std::string connectionId;
    double durationSec = 0;
    std::int64_t attempts = 0; ///< failed attempts so far
    bool operator==(PendingRecording const&) const = default;

    json::object toJson() const;
    static std::optional<PendingRecording> fromJson(json::value const& stored);
};

/// The stored queue of uploads, oldest first. The stored list is the only copy: every operation reads it
/// again and writes it atomically. Thread: one at a time.
class RecordingUploadQueue {
public:
    explicit RecordingUploadQueue(UserDefaults& defaults) : defaults(defaults) {}

    /// Empty if the stored list cannot be read.
    std::vector<PendingRecording> load() const;
    bool holds(std::string const& path) const;
    /// Has no effect if the recording is already in the queue.
    void append(PendingRecording entry);
    void remove(std::string const& path);
    void setAttempts(std::string const& path, std::int64_t attempts);

    static std::optional<std::vector<PendingRecording>> decode(std::string_view bytes);
    /// `nullopt` if an entry cannot be written as JSON: an infinite length, or a path that is not UTF-8.
    static std::optional<std::string> encode(std::vector<PendingRecording> const& entries);

private:
    void save(std::vector<PendingRecording> const& entries);

    UserDefaults& defaults;
};

} // namespace zelvo
