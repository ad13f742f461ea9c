#pragma once

#include <cstdint>
#include <set>
#include <vector>

namespace zelvo {

class X11Connection;

/// Fills these children of the root with their background color or, if they have none, with black, so that
/// nothing remains of the pixels that the server gave them at first. Then asks their applications to draw.
/// Call it with the server grabbed. Blocks for a few round trips.
/// others  windows inside them that are left as they are, with all that is inside
/// Returns those that were cleaned; the rest has too many windows inside.
std::set<std::uint32_t> cleanPixels(X11Connection const& connection,
                                    std::vector<std::uint32_t> const& windows,
                                    std::set<std::uint32_t> const& others);

} // namespace zelvo
