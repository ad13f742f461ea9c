#pragma once

#include <cstdint>
#include <vector>

namespace zelvo {

/// A rectangle of pixels; empty if a side is not positive.
struct PixelRect {
    int x = 0;
    int y = 0;
    int width = 0;
    int height = 0;
    bool operator==(PixelRect const&) const = default;

    int right() const { return x + width; }
    int bottom() const { return y + height; }
    bool isEmpty() const { return width <= 0 || height <= 0; }
    std::int64_t pixels() const { return isEmpty() ? 0 : std::int64_t{width} * height; }
    PixelRect movedBy(int dx, int dy) const { return {x + dx, y + dy, width, height}; }
};

PixelRect intersection(PixelRect const& left, PixelRect const& right);

/// A set of pixels as rectangles that do not overlap.
class PixelRegion {
public:
    PixelRegion() = default;
    explicit PixelRegion(PixelRect const& rect) { add(rect); }
    /// rects  none of them empty, and no two overlap: taken as they are, however many
    static PixelRegion fromDisjoint(std::vector<PixelRect> rects);

    void add(PixelRect const& rect);
    void subtract(PixelRect const& hole);
    PixelRegion intersected(PixelRect const& rect) const;
    /// These two stay fast with thousands of rectangles on both sides.
    void subtract(PixelRegion const& other);
    PixelRegion intersected(PixelRegion const& other) const;
    PixelRegion movedBy(int dx, int dy) const;

    bool isEmpty() const { return rects.empty(); }
    std::int64_t pixels() const;
    /// The smallest rectangle around it.
    PixelRect bounds() const;
    std::vector<PixelRect> const& all() const { return rects; }

private:
    std::vector<PixelRect> rects;
};

} // namespace zelvo
