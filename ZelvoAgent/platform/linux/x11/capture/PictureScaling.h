#pragma once

#include "platform/ScreenSource.h"

namespace zelvo {

/// The picture in another size, each pixel the mean of those that it stands for. The same size costs nothing.
Picture scaled(Picture picture, int width, int height);

} // namespace zelvo
