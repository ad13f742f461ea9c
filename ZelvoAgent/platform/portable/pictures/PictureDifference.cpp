#include "platform/portable/pictures/PictureDifference.h"

#include <algorithm>
#include <cstddef>
#include <cstring>

namespace zelvo {

namespace {

constexpr int side = 32; // Pixels.

std::uint8_t const* at(Picture const& picture, int x, int y)
{
    return picture.pixels.data() + std::ptrdiff_t{y} * picture.stride + std::ptrdiff_t{x} * 4;
}

/// Finds the squares of one row of squares that differ.
class Row {
public:
    Row(Picture const& before, Picture const& after, int top)
        : before(before), after(after), top(top), height(std::min(side, after.height - top)),
          differs(static_cast<std::size_t>((after.width + side - 1) / side))
    {
        for (int y = top; y < top + height; ++y)
            compareLine(y);
    }

    void appendTo(std::vector<DisplayPart>& parts) const
    {
        for (std::size_t i = 0; i < differs.size(); ++i) {
            if (!differs[i])
                continue;
            std::size_t const first = i;
            while (i + 1 < differs.size() && differs[i + 1])
                ++i;
            int const x = static_cast<int>(first) * side;
            int const end = std::min(static_cast<int>(i + 1) * side, after.width);
            parts.push_back({x, top, end - x, height});
        }
    }

private:
    void compareLine(int y)
    {
        auto const lineBytes = static_cast<std::size_t>(after.width) * 4;
        if (std::memcmp(at(before, 0, y), at(after, 0, y), lineBytes) == 0)
            return; // Most lines of most screens.
        for (std::size_t i = 0; i < differs.size(); ++i) {
            int const x = static_cast<int>(i) * side;
            auto const bytes = static_cast<std::size_t>(std::min(side, after.width - x)) * 4;
            differs[i] = differs[i] || std::memcmp(at(before, x, y), at(after, x, y), bytes) != 0;
        }
    }

    Picture const& before;
    Picture const& after;
    int const top;
    int const height;
    std::vector<bool> differs;
};

} // namespace

std::vector<DisplayPart> differenceOf(Picture const& before, Picture const& after)
{
    if (before.width != after.width || before.height != after.height)
        return {{0, 0, after.width, after.height}};
    std::vector<DisplayPart> parts;
    for (int top = 0; top < after.height; top += side)
        Row(before, after, top).appendTo(parts);
    return parts;
}

} // namespace zelvo
