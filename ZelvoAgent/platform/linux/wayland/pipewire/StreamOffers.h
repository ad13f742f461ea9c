#pragma once

#include <spa/pod/builder.h>

#include <cstdint>

namespace zelvo {

/// Where a stream's pictures are: in shared memory, or in a graphics card's that is laid out like it.
enum class FrameMemory { shared, card };

inline constexpr std::uint32_t maxSide = 32768; ///< of a picture, in pixels

/// What we can receive: four formats, any size, and as many frames as we want at most.
spa_pod* offeredFormats(spa_pod_builder& builder, FrameMemory memory);
spa_pod* offeredBuffers(spa_pod_builder& builder, FrameMemory memory);
/// In which memory a format's pictures are.
FrameMemory memoryOf(spa_pod const* format);

} // namespace zelvo
