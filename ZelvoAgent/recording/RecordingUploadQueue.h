#pragma once

#include "platform/UserDefaults.h"
#include "wire/Json.h"

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace zelvo {

/// A recording that waits to be handed over.
struct PendingRecording {
    std::string path; ///< of the recording; it also identifies the entry
    std::string connectionId;
    double durationSec = 0;
    std::int64_t attempts = 0; ///< tries that failed so far
    bool operator==(PendingRecording const&) const = default;

    json::object toJson() const;
    static std::optional<PendingRecording> fromJson(json::value const& stored);
};

/// The recordings that wait, in the order in which they came. The stored list is the only copy: every
/// operation reads it anew and leaves the whole old or the whole new one. Thread: one at a time.
class RecordingUploadQueue {
public:
    explicit RecordingUploadQueue(UserDefaults& defaults) : defaults(defaults) {}

    /// Empty when what is stored can't be read.
    std::vector<PendingRecording> load() const;
    bool holds(std::string const& path) const;
    /// A recording that waits already keeps its place.
    void append(PendingRecording entry);
    void remove(std::string const& path);
    void setAttempts(std::string const& path, std::int64_t attempts);

    static std::optional<std::vector<PendingRecording>> decode(std::string_view bytes);
    /// Nothing when an entry can't be written as JSON: a length without end, a path that is not UTF-8.
    static std::optional<std::string> encode(std::vector<PendingRecording> const& entries);

private:
    void save(std::vector<PendingRecording> const& entries);

    UserDefaults& defaults;
};

} // namespace zelvo
