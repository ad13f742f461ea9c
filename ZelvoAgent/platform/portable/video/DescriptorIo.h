#pragma once

#include <cstdint>

struct AVIOContext;

namespace zelvo {

/// A file of ours as libavformat reads and writes it, whatever its name is by now. The place in it is its
/// own: the descriptor's is left alone. Thread: one at a time.
class DescriptorIo {
public:
    enum class Use { reading, writing };

    /// file: outlives this object. Throws VideoFailure when there is no memory.
    DescriptorIo(int file, Use use);
    ~DescriptorIo();
    DescriptorIo(DescriptorIo const&) = delete;
    DescriptorIo& operator=(DescriptorIo const&) = delete;

    AVIOContext* get() const { return context; }
    /// Writes out what is still in memory. False when this or an earlier write failed.
    bool flush();
    std::int64_t length() const;
    /// Cuts the file off. False when it can't.
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
