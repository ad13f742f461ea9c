#pragma once

#include "platform/linux/x11/PropertyValues.h"
#include "platform/linux/x11/X11Connection.h"
#include "platform/linux/x11/XBatch.h"

#include <cstdint>
#include <vector>

namespace zelvo {

/// The questions that a survey of the windows asks, a round of them at a time. Thread: one.
class SurveyQuestions {
public:
    using Property = xcb_get_property_reply_t;

    explicit SurveyQuestions(X11Connection const& connection)
        : connection(connection), x(connection.get()), batch(x)
    {
    }

    X11Connection const& server() const { return connection; }
    X11Atoms const& atoms() const { return connection.atoms(); }
    /// Takes the answers to what was asked since the last call.
    void run() { batch.run(); }

    /// words  how much of it is read, in units of four bytes
    template <class Handler>
    void property(std::uint32_t window, std::uint32_t atom, std::uint32_t words, Handler handler)
    {
        batch.ask(xcb_get_property(x, 0, window, atom, XCB_ATOM_ANY, 0, words), xcb_get_property_reply,
                  handler);
    }

    template <class Handler>
    void children(std::uint32_t window, Handler handler)
    {
        batch.ask(
            xcb_query_tree(x, window), xcb_query_tree_reply, [handler](xcb_query_tree_reply_t const& reply) {
                auto const* first = xcb_query_tree_children(&reply);
                handler(std::vector<std::uint32_t>(first, first + xcb_query_tree_children_length(&reply)));
            });
    }

    template <class Handler>
    void attributes(std::uint32_t window, Handler handler)
    {
        batch.ask(xcb_get_window_attributes(x, window), xcb_get_window_attributes_reply, handler);
    }

    template <class Handler>
    void geometry(std::uint32_t window, Handler handler)
    {
        batch.ask(xcb_get_geometry(x, window), xcb_get_geometry_reply, handler);
    }

    /// Any other question, see XBatch.
    template <class Cookie, class Reply, class Handler>
    void ask(Cookie cookie, Reply* (*take)(xcb_connection_t*, Cookie, xcb_generic_error_t**), Handler handler)
    {
        batch.ask(cookie, take, handler);
    }

    /// Whether two windows belong to different clients of the server.
    bool areForeign(std::uint32_t window, std::uint32_t other) const
    {
        return connection.clientOf(window) != connection.clientOf(other);
    }

private:
    X11Connection const& connection;
    xcb_connection_t* x;
    XBatch batch;
};

/// A window somewhere below a child of the root, while the way down is found.
struct SurveyStep {
    std::size_t top = 0; ///< whose it is: an index into the survey's windows
    std::uint32_t window = 0;
    /// The client's window that it is in; a window of another client is embedded there.
    std::uint32_t within = 0;
};

/// The children of each of the survey's windows.
using SurveyChildren = std::vector<std::vector<std::uint32_t>>;

} // namespace zelvo
