#pragma once

struct xcb_connection_t;

namespace zelvo {

/// While it exists, the X server serves no other connection.
class ServerGrab {
public:
    explicit ServerGrab(xcb_connection_t* connection);
    ~ServerGrab() { release(); }
    ServerGrab(ServerGrab const&) = delete;
    ServerGrab& operator=(ServerGrab const&) = delete;

    /// Ends it early. Call it after the last request is sent: the server is then free as soon as it has
    /// replied.
    void release();

private:
    xcb_connection_t* connection;
    bool isReleased = false;
};

} // namespace zelvo
