#pragma once

/// The distances in this program's windows, in points.
namespace zelvo::spacing {

constexpr int tight = 4;
constexpr int small = 8;
constexpr int medium = 12;
constexpr int large = 16;
constexpr int margin = 24; ///< between a window's edge and its content
constexpr int cardRadius = 10;
constexpr int buttonRadius = 8;

} // namespace zelvo::spacing
