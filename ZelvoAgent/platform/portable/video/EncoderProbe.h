#pragma once

#include "platform/portable/video/VideoEncoder.h"

namespace zelvo {

/// Whether an encoder suits a video. Encodes a few frames of its size to check: High profile, each frame
/// returned at once and in order, and only the first a key frame. Blocks; never throws.
bool isFitEncoder(EncoderCandidate const& candidate, VideoSettings const& settings, OpenEncoder const& open);

} // namespace zelvo
