#pragma once

#include "platform/linux/movie/FilmEncoder.h"

namespace zelvo {

/// Whether an encoder makes what a film needs, found by letting it encode a few frames of that size: the High
/// profile, each frame at once and in order, the first a key frame and no other. Blocks; never throws.
bool isFitEncoder(EncoderCandidate const& candidate, MovieSettings const& settings, OpenEncoder const& open);

} // namespace zelvo
