#pragma once

#include "platform/ScreenSource.h"

struct AVFrame;

namespace zelvo {

/// Converts a picture into an I420 or NV12 frame of the same size: BT.601, limited range. False if the sizes
/// differ or the format is another.
bool convertPicture(Picture const& picture, AVFrame& frame);

} // namespace zelvo
