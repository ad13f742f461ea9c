#include "drivers/ImageEncoder.h"

#include "wire/AgentError.h"

#include <png.h>
#include <turbojpeg.h>

#include <algorithm>
#include <csetjmp>
#include <memory>

namespace zelvo::imageEncoder {

namespace {

struct DestroyCompressor {
    void operator()(void* handle) const { tjDestroy(handle); }
};

constexpr int fastestCompression = 1;
constexpr auto noBuffer = static_cast<unsigned long>(-1); // libjpeg-turbo's answer to an impossible size.

/// Owns libpng's write structures.
class PngWriter {
public:
    PngWriter() : writer(png_create_write_struct(PNG_LIBPNG_VER_STRING, nullptr, nullptr, nullptr))
    {
        if (writer)
            info = png_create_info_struct(writer);
    }
    PngWriter(PngWriter const&) = delete;
    PngWriter& operator=(PngWriter const&) = delete;
    ~PngWriter() { png_destroy_write_struct(&writer, &info); }

    bool isReady() const { return writer && info; }

    png_structp writer = nullptr;
    png_infop info = nullptr;
};

void append(png_structp writer, png_bytep bytes, png_size_t count)
{
    auto& out = *static_cast<std::vector<std::uint8_t>*>(png_get_io_ptr(writer));
    out.insert(out.end(), bytes, bytes + count);
}

/// libpng reports errors by longjmp, so this function must not have locals with a destructor.
bool writePng(PngWriter& png, Picture const& picture, std::vector<std::uint8_t>& out)
{
    if (setjmp(png_jmpbuf(png.writer))) // NOLINT(cert-err52-cpp): libpng's error handling.
        return false;
    png_set_write_fn(png.writer, &out, append, nullptr);
    png_set_IHDR(png.writer, png.info, static_cast<png_uint_32>(picture.width),
                 static_cast<png_uint_32>(picture.height), 8, PNG_COLOR_TYPE_RGB, PNG_INTERLACE_NONE,
                 PNG_COMPRESSION_TYPE_DEFAULT, PNG_FILTER_TYPE_DEFAULT);
    // Filters triple the time on screen contents and save nothing.
    png_set_filter(png.writer, PNG_FILTER_TYPE_BASE, PNG_FILTER_NONE);
    png_set_compression_level(png.writer, fastestCompression);
    png_write_info(png.writer, png.info);
    png_set_filler(png.writer, 0, PNG_FILLER_AFTER);
    png_set_bgr(png.writer);
    for (int y = 0; y < picture.height; ++y)
        png_write_row(png.writer, picture.pixels.data() + static_cast<std::size_t>(y) * picture.stride);
    png_write_end(png.writer, nullptr);
    return true;
}

} // namespace

std::vector<std::uint8_t> jpeg(Picture const& picture, std::int64_t quality)
{
    // The library's lowest quality is 1.
    int const level = static_cast<int>(std::clamp<std::int64_t>(quality, 1, 100));
    thread_local std::unique_ptr<void, DestroyCompressor> const compressor(tjInitCompress());
    // This is the worst case, 20 times the usual size. Unused pages are never touched, so they cost nothing.
    unsigned long size = tjBufSize(picture.width, picture.height, TJSAMP_420);
    if (size == noBuffer)
        throw AgentError::internalError;
    auto const room = std::make_unique_for_overwrite<unsigned char[]>(size);
    unsigned char* out = room.get();
    int const failed =
        tjCompress2(compressor.get(), picture.pixels.data(), picture.width, picture.stride, picture.height,
                    TJPF_BGRX, &out, &size, TJSAMP_420, level, TJFLAG_NOREALLOC);
    if (failed)
        throw AgentError::internalError;
    return {out, out + size};
}

std::vector<std::uint8_t> png(Picture const& picture)
{
    PngWriter writer;
    std::vector<std::uint8_t> out;
    if (!writer.isReady() || !writePng(writer, picture, out))
        throw AgentError::internalError;
    return out;
}

} // namespace zelvo::imageEncoder
