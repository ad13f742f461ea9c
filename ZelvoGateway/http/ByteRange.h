#pragma once

#include <cstdint>
#include <string_view>

namespace zelvo::service {

/// What of a body a request asks for.
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

/// Reads a "Range" header for a body of `size` bytes. As the standard has it, a header that can't be read
/// asks for the whole; so does one with several ranges, which a player never sends.
ByteRange byteRange(std::string_view header, std::uint64_t size);

} // namespace zelvo::service
