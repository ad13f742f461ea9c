#pragma once

#include <cstdint>
#include <string_view>

namespace zelvo::service {

/// The part of a body that a request asks for.
struct ByteRange {
    enum class Kind {
        whole,   ///< all of it, 200
        part,    ///< some of it, 206
        nothing, ///< there is no such part, 416
    };
    Kind kind = Kind::whole;
    std::uint64_t first = 0;
    std::uint64_t length = 0;
};

/// Reads a "Range" header for a body of `size` bytes. A header that can't be read means the whole body, as
/// the standard says; so does one with several ranges, which no player sends.
ByteRange byteRange(std::string_view header, std::uint64_t size);

} // namespace zelvo::service
