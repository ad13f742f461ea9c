#pragma once

#include "platform/OverlayWindows.h"
#include "platform/linux/screen/PixelRegion.h"

#include <cstdint>
#include <vector>

namespace zelvo {

/// A picture for a window that can't blend with what is below it.
struct CutPicture {
    std::vector<std::uint32_t> pixels; ///< 00RRGGBB
    std::vector<PixelRect> shape;      ///< what is drawn; in the picture, from top to bottom
};

/// Makes pixels of at least half opacity opaque and leaves the others out.
CutPicture cutPicture(OverlayPicture const& picture);

} // namespace zelvo
