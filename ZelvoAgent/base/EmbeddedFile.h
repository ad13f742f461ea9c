#pragma once

#include <cstddef>
#include <string_view>

namespace zelvo {

/// A file of the source tree, compiled into the program. cmake/Embed.cmake generates the definition.
struct EmbeddedFile {
    unsigned char const* data;
    std::size_t size;

    std::string_view text() const { return {reinterpret_cast<char const*>(data), size}; }
};

} // namespace zelvo
