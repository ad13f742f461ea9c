#pragma once

#include "platform/ScreenSource.h"

#include <cstdint>
#include <vector>

/// Encodes pictures as image files. Thread: any; takes milliseconds, so call it on the workers. Each function
/// throws AgentError::internalError if the picture cannot be encoded.
namespace zelvo::imageEncoder {

/// quality  0 to 100; other values are clamped
std::vector<std::uint8_t> jpeg(Picture const& picture, std::int64_t quality);
std::vector<std::uint8_t> png(Picture const& picture);

} // namespace zelvo::imageEncoder
