#pragma once

#include "platform/ScreenSource.h"

namespace zelvo {

/// Resizes a picture; each pixel is the mean of the pixels that it covers. The same size costs nothing.
Picture scaled(Picture picture, int width, int height);

} // namespace zelvo
