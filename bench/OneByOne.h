#pragma once

#include <cstddef>
#include <cstdint>

namespace zelvo {

/// The baseline for readings: libatspi, one call after another. Reads the same attributes of every element of
/// a process and returns the number of elements. Thread: one.
std::size_t readOneByOne(std::int32_t pid);

} // namespace zelvo
