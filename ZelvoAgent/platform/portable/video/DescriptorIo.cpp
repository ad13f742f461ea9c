#include "platform/portable/video/DescriptorIo.h"

#include "platform/VideoFile.h"
#include "platform/portable/video/Libav.h"

#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstdio>

namespace zelvo {

namespace {

constexpr int bufferSize = 1 << 16;

} // namespace

DescriptorIo::DescriptorIo(int file, Use use) : file(file)
{
    auto* const buffer = static_cast<unsigned char*>(libav().av_malloc(bufferSize));
    // Older libraries declare the written bytes as mutable.
#if LIBAVFORMAT_VERSION_MAJOR < 61
    auto const put = [](void* self, std::uint8_t* from, int size) { return write(self, from, size); };
#else
    auto const put = write;
#endif
    if (buffer)
        context = libav().avio_alloc_context(buffer, bufferSize, use == Use::writing, this, read, put, seek);
    if (!context) {
        libav().av_free(buffer);
        throw VideoFailure{"no memory for the video"};
    }
}

DescriptorIo::~DescriptorIo()
{
    libav().av_freep(static_cast<void*>(&context->buffer));
    libav().avio_context_free(&context);
}

bool DescriptorIo::flush()
{
    libav().avio_flush(context);
    return context->error >= 0;
}

std::int64_t DescriptorIo::length() const
{
    struct stat facts{};
    return ::fstat(file, &facts) == 0 ? facts.st_size : -1;
}

bool DescriptorIo::truncate(std::int64_t length) const
{
    return ::ftruncate(file, length) == 0;
}

int DescriptorIo::read(void* self, std::uint8_t* to, int size)
{
    auto& io = *static_cast<DescriptorIo*>(self);
    for (;;) {
        ssize_t const count = ::pread(io.file, to, static_cast<std::size_t>(size), io.place);
        if (count < 0 && errno == EINTR)
            continue;
        if (count <= 0)
            return count < 0 ? AVERROR(errno) : AVERROR_EOF;
        io.place += count;
        return static_cast<int>(count);
    }
}

int DescriptorIo::write(void* self, std::uint8_t const* from, int size)
{
    auto& io = *static_cast<DescriptorIo*>(self);
    for (int done = 0; done < size;) {
        ssize_t const count = ::pwrite(io.file, from + done, static_cast<std::size_t>(size - done), io.place);
        if (count < 0 && errno == EINTR)
            continue;
        if (count <= 0)
            return AVERROR(count < 0 ? errno : EIO);
        io.place += count;
        done += static_cast<int>(count);
    }
    return size;
}

std::int64_t DescriptorIo::seek(void* self, std::int64_t offset, int whence)
{
    auto& io = *static_cast<DescriptorIo*>(self);
    whence &= ~AVSEEK_FORCE;
    if (whence == AVSEEK_SIZE)
        return io.length();
    if (whence == SEEK_CUR)
        offset += io.place;
    else if (whence == SEEK_END)
        offset += io.length();
    if (offset < 0)
        return AVERROR(EINVAL);
    return io.place = offset;
}

} // namespace zelvo
