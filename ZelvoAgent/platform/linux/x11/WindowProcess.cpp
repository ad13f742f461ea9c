#include "platform/linux/x11/WindowProcess.h"

#include "platform/linux/x11/XReply.h"

#include <xcb/res.h>
#include <xcb/xcb.h>

namespace zelvo {

std::optional<std::int32_t> windowProcess(xcb_connection_t* connection, std::uint32_t window)
{
    auto const* const resources = xcb_get_extension_data(connection, &xcb_res_id);
    if (!resources || !resources->present)
        return std::nullopt;
    xcb_res_client_id_spec_t const asked{window, XCB_RES_CLIENT_ID_MASK_LOCAL_CLIENT_PID};
    XReply<xcb_res_query_client_ids_reply_t> const reply(
        xcb_res_query_client_ids_reply(connection, xcb_res_query_client_ids(connection, 1, &asked), nullptr));
    if (!reply)
        return std::nullopt;
    auto id = xcb_res_query_client_ids_ids_iterator(reply.get());
    for (; id.rem; xcb_res_client_id_value_next(&id))
        if (xcb_res_client_id_value_value_length(id.data) > 0)
            return static_cast<std::int32_t>(*xcb_res_client_id_value_value(id.data));
    return std::nullopt;
}

} // namespace zelvo
