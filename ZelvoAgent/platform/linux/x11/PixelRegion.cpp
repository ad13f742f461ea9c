#include "platform/linux/x11/PixelRegion.h"

#include <algorithm>
#include <functional>
#include <iterator>
#include <utility>

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

/// A part of a row, sorted by `left` in lists.
struct Span {
    int left = 0;
    int right = 0;
    bool operator==(Span const&) const = default;
};
using Spans = std::vector<Span>;

/// Few enough to compare each rectangle with each, which splits fewer of them than rows do.
bool areFew(std::vector<PixelRect> const& left, std::vector<PixelRect> const& right)
{
    return left.size() * right.size() < 4096;
}

void spansInside(Spans const& own, Spans const& other, Spans& result)
{
    for (auto left = own.begin(), right = other.begin(); left != own.end() && right != other.end();) {
        Span const both{std::max(left->left, right->left), std::min(left->right, right->right)};
        if (both.left < both.right)
            result.push_back(both);
        ++(left->right < right->right ? left : right);
    }
}

void spansOutside(Spans const& own, Spans const& other, Spans& result)
{
    auto hole = other.begin();
    for (Span rest : own) {
        for (; hole != other.end() && hole->left < rest.right; ++hole) {
            if (rest.left < hole->left)
                result.push_back({rest.left, hole->left});
            rest.left = std::max(rest.left, hole->right);
            if (hole->right > rest.right)
                break; // It may reach into the next one.
        }
        if (rest.left < rest.right)
            result.push_back(rest);
    }
}

/// The spans of rectangles that do not overlap, for rows from top to bottom.
class RowSpans {
public:
    explicit RowSpans(std::vector<PixelRect> rects) : waiting(std::move(rects))
    {
        std::ranges::sort(waiting, std::greater(), &PixelRect::y);
    }
    Spans const& at(int y)
    {
        bool isNew = std::erase_if(present, [y](PixelRect const& rect) { return rect.bottom() <= y; }) > 0;
        for (; !waiting.empty() && waiting.back().y <= y; waiting.pop_back(), isNew = true)
            present.push_back(waiting.back());
        if (isNew) {
            std::ranges::sort(present, {}, &PixelRect::x);
            spans.clear();
            for (PixelRect const& rect : present)
                spans.push_back({rect.x, rect.right()});
        }
        return spans;
    }

private:
    std::vector<PixelRect> waiting; // The topmost last.
    std::vector<PixelRect> present;
    Spans spans;
};

/// Combines two sets of rectangles row by row, where a row is as high as nothing changes: its cost grows with
/// the number of rectangles, not with its square.
class RowMerge {
public:
    using Combine = void (*)(Spans const& own, Spans const& other, Spans& result);
    explicit RowMerge(Combine combine) : combine(combine) {}

    std::vector<PixelRect> merged(std::vector<PixelRect> const& own, std::vector<PixelRect> const& other)
    {
        std::vector<int> const edges = edgesOf(own, other);
        RowSpans ownRows(own);
        RowSpans otherRows(other);
        for (std::size_t i = 0; i + 1 < edges.size(); ++i) {
            Spans row;
            combine(ownRows.at(edges[i]), otherRows.at(edges[i]), row);
            add(std::move(row), edges[i], edges[i + 1]);
        }
        return std::move(result);
    }

private:
    static std::vector<int> edgesOf(std::vector<PixelRect> const& own, std::vector<PixelRect> const& other)
    {
        std::vector<int> edges;
        for (auto const* const rects : {&own, &other})
            for (PixelRect const& rect : *rects) {
                edges.push_back(rect.y);
                edges.push_back(rect.bottom());
            }
        std::ranges::sort(edges);
        edges.erase(std::ranges::unique(edges).begin(), edges.end());
        return edges;
    }

    void add(Spans row, int top, int bottom)
    {
        if (row == last) {
            for (std::size_t i = result.size() - row.size(); i < result.size(); ++i)
                result[i].height = bottom - result[i].y;
            return;
        }
        for (Span const& span : row)
            result.push_back({span.left, top, span.right - span.left, bottom - top});
        last = std::move(row);
    }

    Combine combine;
    Spans last; // The row above.
    std::vector<PixelRect> result;
};

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
    std::vector<PixelRect> const left =
        RowMerge(spansOutside).merged({apart.begin(), apart.end()}, other.rects);
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
        return fromDisjoint(RowMerge(spansInside).merged(rects, other.rects));
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
