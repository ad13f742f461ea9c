#include "platform/linux/screen/RowMerge.h"

#include <algorithm>
#include <functional>
#include <utility>

namespace zelvo::rows {

namespace {

/// A part of a row, sorted by `left` in lists.
struct Span {
    int left = 0;
    int right = 0;
    bool operator==(Span const&) const = default;
};
using Spans = std::vector<Span>;

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

std::vector<PixelRect> inside(std::vector<PixelRect> const& own, std::vector<PixelRect> const& other)
{
    return RowMerge(spansInside).merged(own, other);
}

std::vector<PixelRect> outside(std::vector<PixelRect> const& own, std::vector<PixelRect> const& other)
{
    return RowMerge(spansOutside).merged(own, other);
}

} // namespace zelvo::rows
