#pragma once

#include <stdlib.h>
#include <xcb/xcb.h>

#include <cstdint>
#include <memory>
#include <string>
#include <vector>

namespace zelvo::test {

struct FreeReply {
    void operator()(void* raw) const { ::free(raw); }
};
template <class T>
using XReply = std::unique_ptr<T, FreeReply>;

struct Disconnect {
    void operator()(xcb_connection_t* raw) const { xcb_disconnect(raw); }
};
using XConnection = std::unique_ptr<xcb_connection_t, Disconnect>;

/// Connects, or throws std::runtime_error.
XConnection connectTo(std::string const& display);
xcb_screen_t* screenOf(xcb_connection_t* connection);
xcb_atom_t atomOf(xcb_connection_t* connection, std::string const& name);
/// A property's bytes; empty if it is absent.
std::string propertyOf(xcb_connection_t* connection, xcb_window_t window, std::string const& name);
bool hasProperty(xcb_connection_t* connection, xcb_window_t window, std::string const& name);
/// The first 32-bit number of a property, else 0.
std::uint32_t numberOf(xcb_connection_t* connection, xcb_window_t window, std::string const& name);
std::vector<xcb_window_t> childrenOf(xcb_connection_t* connection, xcb_window_t window);
bool isViewable(xcb_connection_t* connection, xcb_window_t window);
/// Returns when the server has processed every request of this connection.
void syncWith(xcb_connection_t* connection);

} // namespace zelvo::test
