#pragma once

#include <cstddef>
#include <cstdint>

namespace zelvo {

/// The baseline of readings: libatspi, one call after the other. Reads the same attributes
/// of every element of a process and gives how many there are. Thread: one.
std::size_t readOneByOne(std::int32_t pid);

} // namespace zelvo
