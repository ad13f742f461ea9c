#pragma once

#include "platform/portable/files/UniqueFd.h"

#include <cstdint>
#include <filesystem>
#include <string>
#include <string_view>

namespace zelvo {

/// A file that receives the body of a response, and continues where an earlier download ended.
/// Thread: one at a time; blocks for the disk.
class DownloadFile {
public:
    /// Creates the file with mode 0600, or opens it at its end. Throws NetworkFailure.
    DownloadFile(std::filesystem::path const& path, std::int64_t maxBytes);

    /// The bytes that the file has.
    std::int64_t size() const { return bytes; }
    /// Before the body. A response to a request for the rest continues the file if it begins where the file
    /// ends; a response with the whole begins the file anew; any other body is dropped.
    /// range  the header Content-Range; may be empty
    bool begin(int status, std::string_view range);
    /// False on failure: `failure()` gives the reason.
    bool write(std::string_view content);
    /// Does not contain the file's name.
    std::string const& failure() const { return reason; }

private:
    UniqueFd file;
    std::int64_t const maxBytes;
    std::int64_t bytes = 0;
    bool isKept = false; ///< the body belongs into the file
    std::string reason;
};

} // namespace zelvo
