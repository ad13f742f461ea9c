#pragma once

#include "platform/portable/video/VideoEncoder.h"

namespace zelvo {

/// Whether an encoder makes what a video needs, found by letting it encode a few frames of that size: the
/// High profile, each frame at once and in order, the first a key frame and no other. Blocks; never throws.
bool isFitEncoder(EncoderCandidate const& candidate, VideoSettings const& settings, OpenEncoder const& open);

} // namespace zelvo
