#pragma once

#include "ZelvoGateway/base/ByteSource.h"
#include "ZelvoGateway/base/OwnedDescriptor.h"

#include <filesystem>

namespace zelvo::service {

/// A file that is open for reading.
class OpenFile final : public ByteSource {
public:
    /// Null if there is no such file.
    static std::shared_ptr<OpenFile const> open(std::filesystem::path const& path);
    explicit OpenFile(int number);

    std::uint64_t size() const override { return bytes; }
    std::size_t read(std::uint64_t offset, std::span<char> room) const override;

private:
    OwnedDescriptor descriptor;
    std::uint64_t bytes = 0;
};

} // namespace zelvo::service
