#pragma once

#include "platform/portable/files/UniqueFd.h"

#include <cstddef>
#include <cstdint>
#include <filesystem>
#include <optional>
#include <string>

namespace zelvo {

/// A file on its way to a server that was told its size: a regular file, which must keep to that size until
/// its last byte is read. Thread: one at a time; blocks for the disk.
class UploadFile {
public:
    /// Throws NetworkFailure.
    UploadFile(std::filesystem::path const& path, std::int64_t bytes);

    std::int64_t size() const { return bytes; }
    bool isAtEnd() const { return given == bytes; }
    /// Up to `room` of the next bytes; 0 at the end. Nothing when it failed: `failure()` then says why.
    std::optional<std::size_t> read(char* to, std::size_t room);
    /// Without the file's name.
    std::string const& failure() const { return reason; }

private:
    bool keepsItsSize() const;

    UniqueFd file;
    std::int64_t const bytes;
    std::int64_t given = 0;
    std::string reason;
};

} // namespace zelvo
