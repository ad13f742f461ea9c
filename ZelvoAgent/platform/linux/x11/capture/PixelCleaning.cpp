#include "platform/linux/x11/capture/PixelCleaning.h"

#include "platform/linux/x11/X11Connection.h"
#include "platform/linux/x11/XBatch.h"

#include <xcb/xcb.h>

#include <cstddef>
#include <deque>

namespace zelvo {

namespace {

constexpr std::size_t maxInside = 2000;

/// The windows of a tree that can be drawn in, parents before children.
class Tree {
public:
    Tree(xcb_connection_t* x, std::uint32_t window, std::set<std::uint32_t> const& others)
        : x(x), others(others), nodes{{.window = window}}
    {
        lookAt(0);
        for (std::size_t first = 0; first < nodes.size() && !isTooLarge(); first = findChildren(first)) {
        }
    }

    bool isTooLarge() const { return nodes.size() > maxInside; }

    void clean() const
    {
        for (Node const& node : nodes)
            if (node.canDraw)
                blacken(node);
        constexpr std::uint8_t withExposures = 1;
        for (Node const& node : nodes)
            if (node.canDraw)
                xcb_clear_area(x, withExposures, node.window, 0, 0, 0, 0);
    }

private:
    struct Node {
        std::uint32_t window = 0;
        bool canDraw = false;
        std::uint16_t width = 0;
        std::uint16_t height = 0;
    };

    /// Finds the children of all nodes from `first` on; returns the index of the first child.
    std::size_t findChildren(std::size_t first)
    {
        std::size_t const end = nodes.size();
        XBatch trees(x);
        for (std::size_t i = first; i < end; ++i)
            if (nodes[i].canDraw)
                trees.ask(xcb_query_tree(x, nodes[i].window), xcb_query_tree_reply,
                          [this](xcb_query_tree_reply_t const& reply) { add(reply); });
        trees.run();
        lookAt(end);
        return end;
    }

    /// Asks what all nodes from `first` on are.
    void lookAt(std::size_t first)
    {
        XBatch batch(x);
        for (std::size_t i = first; i < nodes.size(); ++i) {
            batch.ask(xcb_get_window_attributes(x, nodes[i].window), xcb_get_window_attributes_reply,
                      [&node = nodes[i]](xcb_get_window_attributes_reply_t const& reply) {
                          node.canDraw = reply.map_state == XCB_MAP_STATE_VIEWABLE &&
                                         reply._class == XCB_WINDOW_CLASS_INPUT_OUTPUT;
                      });
            batch.ask(xcb_get_geometry(x, nodes[i].window), xcb_get_geometry_reply,
                      [&node = nodes[i]](xcb_get_geometry_reply_t const& reply) {
                          node.width = reply.width;
                          node.height = reply.height;
                      });
        }
        batch.run();
    }

    void add(xcb_query_tree_reply_t const& reply)
    {
        auto const* const ids = xcb_query_tree_children(&reply);
        for (int i = 0; i < xcb_query_tree_children_length(&reply); ++i)
            if (!others.contains(ids[i]))
                nodes.push_back({.window = ids[i]});
    }

    /// Only where it shows itself: not over its children, nor outside of its shape.
    void blacken(Node const& node) const
    {
        std::uint32_t const gc = xcb_generate_id(x);
        std::uint32_t const black = 0; // In a window with alpha: nothing at all.
        xcb_create_gc(x, gc, node.window, XCB_GC_FOREGROUND, &black);
        // Not more than the window: the server computes what has changed with 16 bits.
        xcb_rectangle_t const area{0, 0, node.width, node.height};
        xcb_poly_fill_rectangle(x, node.window, gc, 1, &area);
        xcb_free_gc(x, gc);
    }

    xcb_connection_t* x;
    std::set<std::uint32_t> const& others;
    std::deque<Node> nodes; // A deque, since handlers keep references.
};

} // namespace

std::set<std::uint32_t> cleanPixels(X11Connection const& connection,
                                    std::vector<std::uint32_t> const& windows,
                                    std::set<std::uint32_t> const& others)
{
    std::set<std::uint32_t> cleaned;
    for (std::uint32_t const window : windows) {
        Tree const tree(connection.get(), window, others);
        if (tree.isTooLarge())
            continue;
        tree.clean();
        cleaned.insert(window);
    }
    return cleaned;
}

} // namespace zelvo
