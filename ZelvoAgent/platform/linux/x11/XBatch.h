#pragma once

#include "platform/linux/x11/XReply.h"

#include <xcb/xcb.h>

#include <functional>
#include <vector>

namespace zelvo {

/// Many requests in one round trip: ask() sends, run() handles the replies in the same order.
class XBatch {
public:
    explicit XBatch(xcb_connection_t* connection) : connection(connection) {}

    /// batch.ask(xcb_get_geometry(x, window), xcb_get_geometry_reply, [&](xcb_get_geometry_reply_t const&
    /// reply) {...}); The handler is not called if the server replies with an error, for instance because the
    /// window is gone. It must not call ask(), because run() iterates over the list.
    template <class Cookie, class Reply, class Handler>
    void ask(Cookie cookie, Reply* (*take)(xcb_connection_t*, Cookie, xcb_generic_error_t**), Handler handler)
    {
        waiting.push_back([this, cookie, take, handler] {
            if (XReply<Reply> const reply{take(connection, cookie, nullptr)})
                handler(*reply);
        });
    }

    void run()
    {
        for (auto const& answer : waiting)
            answer();
        waiting.clear();
    }

private:
    xcb_connection_t* connection;
    std::vector<std::function<void()>> waiting;
};

} // namespace zelvo
