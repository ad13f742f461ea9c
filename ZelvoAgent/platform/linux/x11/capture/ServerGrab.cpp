#include "platform/linux/x11/capture/ServerGrab.h"

#include <xcb/xcb.h>

namespace zelvo {

ServerGrab::ServerGrab(xcb_connection_t* connection) : connection(connection)
{
    xcb_grab_server(connection);
}

void ServerGrab::release()
{
    if (isReleased)
        return;
    isReleased = true;
    xcb_ungrab_server(connection);
    xcb_flush(connection);
}

} // namespace zelvo
