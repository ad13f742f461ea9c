#pragma once

#include "wire/Json.h"

#include <cstddef>
#include <optional>
#include <string_view>

namespace zelvo {

/// A text in a JSON document that may be so long that a copy of it matters: {outer: {inner: "..."}}.
struct LongText {
    std::string_view outer;
    std::string_view inner;
    std::size_t minBytes = std::size_t{1} << 20;
    std::size_t offset = 0; ///< in the document
    std::size_t bytes = 0;  ///< 0 if there is none
};

/// Like parseJson(), except that one text of at least `minBytes` without escapes stays where it is: `wanted`
/// then says where, and the value there has the kind uint64, which no other has. It may be gone where a key
/// comes twice.
std::optional<json::value> parseJsonAround(std::string_view text, LongText& wanted);

} // namespace zelvo
