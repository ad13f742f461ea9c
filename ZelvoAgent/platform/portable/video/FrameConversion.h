#pragma once

#include "platform/ScreenSource.h"

struct AVFrame;

namespace zelvo {

/// Puts a picture into a frame of the same size, laid out as I420 or NV12: BT.601, limited range. False when
/// the two do not fit.
bool convertPicture(Picture const& picture, AVFrame& frame);

} // namespace zelvo
