#pragma once

#include "platform/portable/files/UniqueFd.h"

#include <cstddef>
#include <cstdint>
#include <filesystem>
#include <optional>
#include <string>

namespace zelvo {

/// A file that is uploaded with an announced size: a regular file that must keep this size until its last
/// byte is read. Thread: one at a time; blocks for the disk.
class UploadFile {
public:
    /// Throws NetworkFailure.
    UploadFile(std::filesystem::path const& path, std::int64_t bytes);

    std::int64_t size() const { return bytes; }
    bool isAtEnd() const { return given == bytes; }
    /// Reads up to `room` of the next bytes; 0 at the end. `nullopt` on failure: `failure()` gives the
    /// reason.
    std::optional<std::size_t> read(char* to, std::size_t room);
    /// Does not contain the file's name.
    std::string const& failure() const { return reason; }

private:
    bool keepsItsSize() const;

    UniqueFd file;
    std::int64_t const bytes;
    std::int64_t given = 0;
    std::string reason;
};

} // namespace zelvo
