#pragma once

#include "platform/ScreenSource.h"

namespace zelvo {

/// A part of a picture, which must be inside of it, without copying.
Picture partOf(Picture picture, DisplayPart const& part);

/// A copy in memory of its own.
Picture copyOf(Picture const& picture);

/// Fills a part with a colour (0x00RRGGBB); what is outside of the picture is left out.
void fill(Picture& picture, DisplayPart const& part, std::uint32_t colour);

} // namespace zelvo
