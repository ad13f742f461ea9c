#pragma once

#include "ZelvoGateway/base/OwnedDescriptor.h"

#include <cstdint>
#include <filesystem>
#include <memory>
#include <span>

namespace zelvo::service {

/// A file that is read; it goes on being readable when it is removed meanwhile. Thread: any.
class OpenFile {
public:
    /// Null when there is no such file.
    static std::shared_ptr<OpenFile const> open(std::filesystem::path const& path);
    explicit OpenFile(int descriptor);

    std::uint64_t size() const { return bytes; }
    /// Fills as much of `room` as the file has from `offset` on. Throws std::system_error.
    std::size_t read(std::uint64_t offset, std::span<char> room) const;

private:
    OwnedDescriptor descriptor;
    std::uint64_t bytes = 0;
};

/// A part of a file.
struct FilePart {
    std::shared_ptr<OpenFile const> file;
    std::uint64_t offset = 0;
    std::uint64_t length = 0;
};

} // namespace zelvo::service
