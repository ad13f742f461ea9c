#pragma once

struct xcb_connection_t;

namespace zelvo {

/// The X server serves nobody else for as long as it lives.
class ServerGrab {
public:
    explicit ServerGrab(xcb_connection_t* connection);
    ~ServerGrab() { release(); }
    ServerGrab(ServerGrab const&) = delete;
    ServerGrab& operator=(ServerGrab const&) = delete;

    /// Ends it early. Call it after the last question is sent: the server is then free as soon as it has
    /// answered.
    void release();

private:
    xcb_connection_t* connection;
    bool isReleased = false;
};

} // namespace zelvo
