#pragma once

#include <cstdint>

struct AVIOContext;

namespace zelvo {

/// A file for libavformat to read and write through a descriptor, independent of the file's name. It has its
/// own position; the descriptor's is not changed. Thread: one at a time.
class DescriptorIo {
public:
    enum class Use { reading, writing };

    /// file  outlives this object
    /// Throws VideoFailure if there is no memory.
    DescriptorIo(int file, Use use);
    ~DescriptorIo();
    DescriptorIo(DescriptorIo const&) = delete;
    DescriptorIo& operator=(DescriptorIo const&) = delete;

    AVIOContext* get() const { return context; }
    /// Writes buffered bytes. False if this or an earlier write failed.
    bool flush();
    std::int64_t length() const;
    /// Truncates the file. False if that failed.
    bool truncate(std::int64_t length) const;

private:
    static int read(void* self, std::uint8_t* to, int size);
    static int write(void* self, std::uint8_t const* from, int size);
    static std::int64_t seek(void* self, std::int64_t offset, int whence);

    int const file;
    std::int64_t place = 0;
    AVIOContext* context = nullptr;
};

} // namespace zelvo
