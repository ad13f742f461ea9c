#pragma once

#include <cstdint>
#include <set>
#include <vector>

namespace zelvo {

class X11Connection;

/// Replaces all pixels of these children of the root, so that they show nothing of what the server began them
/// with: with their background, where they have one, else with black. Their applications are told to draw
/// them. Call it with the server grabbed. Blocks for a few round trips.
/// others  windows inside them that are left as they are, with all that is inside
/// Returns those that were cleaned; the rest has too many windows inside.
std::set<std::uint32_t> cleanPixels(X11Connection const& connection,
                                    std::vector<std::uint32_t> const& windows,
                                    std::set<std::uint32_t> const& others);

} // namespace zelvo
