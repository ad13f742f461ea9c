#pragma once

#include "platform/ScreenSource.h"

#include <cstdint>
#include <vector>

/// Makes image files of pictures. Thread: any; takes milliseconds, so call it on the workers. Each throws
/// AgentError::internalError when the picture cannot be encoded.
namespace zelvo::imageEncoder {

/// quality  0 to 100; values beyond that count as the nearest
std::vector<std::uint8_t> jpeg(Picture const& picture, std::int64_t quality);
std::vector<std::uint8_t> png(Picture const& picture);

} // namespace zelvo::imageEncoder
