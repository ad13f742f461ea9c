#include "platform/linux/screen/PixelRegion.h"

#include "platform/linux/screen/RowMerge.h"

#include <algorithm>
#include <iterator>

namespace zelvo {

PixelRect intersection(PixelRect const& left, PixelRect const& right)
{
    int const x = std::max(left.x, right.x);
    int const y = std::max(left.y, right.y);
    PixelRect const both{x, y, std::min(left.right(), right.right()) - x,
                         std::min(left.bottom(), right.bottom()) - y};
    return both.isEmpty() ? PixelRect{} : both;
}

namespace {

/// Few enough to compare each rectangle with each, which splits fewer of them than rows do.
bool areFew(std::vector<PixelRect> const& left, std::vector<PixelRect> const& right)
{
    return left.size() * right.size() < 4096;
}

} // namespace

PixelRegion PixelRegion::fromDisjoint(std::vector<PixelRect> rects)
{
    PixelRegion region;
    region.rects = std::move(rects);
    return region;
}

void PixelRegion::add(PixelRect const& rect)
{
    if (rect.isEmpty())
        return;
    subtract(rect);
    rects.push_back(rect);
}

void PixelRegion::subtract(PixelRect const& hole)
{
    std::size_t const count = rects.size();
    bool isCut = false;
    for (std::size_t i = 0; i < count; ++i) {
        PixelRect const rect = rects[i];
        PixelRect const cut = intersection(rect, hole);
        if (cut.isEmpty())
            continue;
        isCut = true;
        rects[i] = {};
        // Above, below, and the two beside.
        PixelRect const parts[] = {
            {rect.x, rect.y, rect.width, cut.y - rect.y},
            {rect.x, cut.bottom(), rect.width, rect.bottom() - cut.bottom()},
            {rect.x, cut.y, cut.x - rect.x, cut.height},
            {cut.right(), cut.y, rect.right() - cut.right(), cut.height},
        };
        std::ranges::copy_if(parts, std::back_inserter(rects),
                             [](PixelRect const& part) { return !part.isEmpty(); });
    }
    if (isCut)
        std::erase_if(rects, [](PixelRect const& rect) { return rect.isEmpty(); });
}

void PixelRegion::subtract(PixelRegion const& other)
{
    if (areFew(rects, other.rects)) {
        for (PixelRect const& rect : other.rects)
            subtract(rect);
        return;
    }
    auto const apart = std::ranges::partition(rects, [around = other.bounds()](PixelRect const& rect) {
        return intersection(rect, around).isEmpty();
    });
    std::vector<PixelRect> const left = rows::outside({apart.begin(), apart.end()}, other.rects);
    rects.erase(apart.begin(), apart.end());
    rects.insert(rects.end(), left.begin(), left.end());
}

PixelRegion PixelRegion::intersected(PixelRect const& rect) const
{
    PixelRegion result;
    for (PixelRect const& own : rects)
        if (PixelRect const both = intersection(own, rect); !both.isEmpty())
            result.rects.push_back(both);
    return result;
}

PixelRegion PixelRegion::intersected(PixelRegion const& other) const
{
    if (!areFew(rects, other.rects))
        return fromDisjoint(rows::inside(rects, other.rects));
    PixelRegion result;
    for (PixelRect const& rect : other.rects) {
        PixelRegion const part = intersected(rect);
        result.rects.insert(result.rects.end(), part.rects.begin(), part.rects.end());
    }
    return result;
}

PixelRegion PixelRegion::movedBy(int dx, int dy) const
{
    PixelRegion result(*this);
    for (PixelRect& rect : result.rects)
        rect = rect.movedBy(dx, dy);
    return result;
}

std::int64_t PixelRegion::pixels() const
{
    std::int64_t sum = 0;
    for (PixelRect const& rect : rects)
        sum += rect.pixels();
    return sum;
}

PixelRect PixelRegion::bounds() const
{
    if (rects.empty())
        return {};
    int left = rects.front().x;
    int top = rects.front().y;
    int right = rects.front().right();
    int bottom = rects.front().bottom();
    for (PixelRect const& rect : rects) {
        left = std::min(left, rect.x);
        top = std::min(top, rect.y);
        right = std::max(right, rect.right());
        bottom = std::max(bottom, rect.bottom());
    }
    return {left, top, right - left, bottom - top};
}

} // namespace zelvo
