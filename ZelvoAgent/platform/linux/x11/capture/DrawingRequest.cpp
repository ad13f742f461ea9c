#include "platform/linux/x11/capture/DrawingRequest.h"

#include "platform/linux/x11/X11Connection.h"
#include "platform/linux/x11/XBatch.h"
#include "platform/linux/x11/capture/WindowWatch.h"
#include "platform/linux/x11/windows/WindowSurvey.h"

#include <xcb/xcb.h>

#include <cstddef>
#include <cstdint>
#include <deque>

namespace zelvo {

namespace {

/// No window is worth more.
constexpr std::size_t maxNodes = 1000;

/// A window in a tree of windows. All places are on the root window.
struct Node {
    std::uint32_t window = 0;
    SurveyedWindow const* top = nullptr;
    PixelRect outer; ///< with its border
    PixelRect inner;
    bool isDrawable = true;
    bool isViewable = true;
    std::vector<std::size_t> children; ///< indexes
    PixelRegion own;                   ///< the stale part of it that no child covers
};

class Request {
public:
    Request(X11Connection const& connection, WindowWatch& watch)
        : connection(connection), x(connection.get()), watch(watch), stale(watch.stale())
    {
    }

    void run(std::vector<SurveyedWindow const*> const& windows)
    {
        for (SurveyedWindow const* const window : windows) {
            stale.follow(window->id);
            int const border = window->border;
            nodes.push_back({.window = window->id,
                             .top = window,
                             .outer = window->area,
                             .inner = {window->area.x + border, window->area.y + border,
                                       window->area.width - 2 * border, window->area.height - 2 * border}});
        }
        for (std::size_t first = 0; first < nodes.size() && nodes.size() < maxNodes;)
            first = findChildren(first);
        for (Node& node : nodes)
            findOwn(node);
        probe();
    }

private:
    /// Finds the children of all nodes from `first` on; gives the number of the first child.
    std::size_t findChildren(std::size_t first)
    {
        std::size_t const end = nodes.size();
        XBatch trees(x);
        for (std::size_t i = first; i < end; ++i)
            if (nodes[i].isViewable)
                trees.ask(xcb_query_tree(x, nodes[i].window), xcb_query_tree_reply,
                          [this, i](xcb_query_tree_reply_t const& reply) { addChildren(i, reply); });
        trees.run();
        XBatch facts(x);
        for (std::size_t i = end; i < nodes.size(); ++i)
            askFacts(facts, nodes[i]);
        facts.run();
        return end;
    }

    void addChildren(std::size_t parent, xcb_query_tree_reply_t const& reply)
    {
        auto const* const ids = xcb_query_tree_children(&reply);
        for (int i = 0; i < xcb_query_tree_children_length(&reply) && nodes.size() < maxNodes; ++i) {
            nodes[parent].children.push_back(nodes.size());
            // Its parent's place, until its own is known.
            nodes.push_back({.window = ids[i],
                             .top = nodes[parent].top,
                             .inner = nodes[parent].inner,
                             .isDrawable = false,
                             .isViewable = false});
        }
    }

    void askFacts(XBatch& batch, Node& node)
    {
        batch.ask(xcb_get_window_attributes(x, node.window), xcb_get_window_attributes_reply,
                  [&node](xcb_get_window_attributes_reply_t const& reply) {
                      node.isViewable = reply.map_state == XCB_MAP_STATE_VIEWABLE;
                      node.isDrawable = reply._class == XCB_WINDOW_CLASS_INPUT_OUTPUT;
                  });
        batch.ask(xcb_get_geometry(x, node.window), xcb_get_geometry_reply,
                  [&node](xcb_get_geometry_reply_t const& reply) {
                      int const border = reply.border_width;
                      node.outer = {node.inner.x + reply.x, node.inner.y + reply.y, reply.width + 2 * border,
                                    reply.height + 2 * border};
                      node.inner = {node.outer.x + border, node.outer.y + border, reply.width, reply.height};
                  });
    }

    void findOwn(Node& node)
    {
        if (!node.isViewable || !node.isDrawable)
            return;
        PixelRegion const visible = stale.visible(*node.top);
        // The server always paints borders.
        PixelRegion border = visible.intersected(node.outer);
        border.subtract(node.inner);
        markDrawn(node, border);
        node.own = visible.intersected(node.inner);
        for (std::size_t const child : node.children)
            if (nodes[child].isViewable && nodes[child].isDrawable)
                node.own.subtract(nodes[child].outer);
    }

    void probe()
    {
        for (Node const& node : nodes)
            if (!node.own.isEmpty()) {
                PixelRect const& at = node.own.all().front();
                clear(node, {at.x, at.y, 1, 1});
            }
        connection.sync();
        watch.takeEvents();
        for (Node const& node : nodes) {
            if (node.own.isEmpty())
                continue;
            PixelRect const& at = node.own.all().front();
            SurveyedWindow const& top = *node.top;
            if (stale.isDrawn(top.id, at.x - top.area.x - top.border, at.y - top.area.y - top.border))
                markDrawn(node, node.own);
            else
                clear(node, node.own.bounds());
        }
    }

    void clear(Node const& node, PixelRect const& area)
    {
        constexpr std::uint8_t withExposures = 1;
        xcb_clear_area(x, withExposures, node.window, static_cast<std::int16_t>(area.x - node.inner.x),
                       static_cast<std::int16_t>(area.y - node.inner.y),
                       static_cast<std::uint16_t>(area.width), static_cast<std::uint16_t>(area.height));
    }

    void markDrawn(Node const& node, PixelRegion const& part)
    {
        SurveyedWindow const& top = *node.top;
        stale.markDrawn(top.id, part.movedBy(-top.area.x - top.border, -top.area.y - top.border));
    }

    X11Connection const& connection;
    xcb_connection_t* x;
    WindowWatch& watch;
    StalePixelTracker& stale;
    std::deque<Node> nodes; ///< parents before children; a deque, since handlers keep references
};

} // namespace

void requestDrawing(X11Connection const& connection,
                    WindowWatch& watch,
                    std::vector<SurveyedWindow const*> const& windows)
{
    if (!windows.empty())
        Request(connection, watch).run(windows);
}

} // namespace zelvo
