#include "platform/linux/x11/input/ServerKeymap.h"

#include <xkbcommon/xkbcommon-x11.h>

namespace zelvo {

namespace {

struct ReleaseContext {
    void operator()(xkb_context* context) const noexcept { xkb_context_unref(context); }
};

} // namespace

void ReleaseKeymap::operator()(xkb_keymap* keymap) const noexcept
{
    xkb_keymap_unref(keymap);
}

KeymapPtr readServerKeymap(InputConnection& connection)
{
    std::unique_ptr<xkb_context, ReleaseContext> const context(
        xkb_context_new(XKB_CONTEXT_NO_DEFAULT_INCLUDES));
    std::int32_t const device = xkb_x11_get_core_keyboard_device_id(connection.raw());
    if (!context || device < 0)
        return nullptr;
    xkb_context_set_log_level(context.get(), XKB_LOG_LEVEL_CRITICAL);
    return KeymapPtr(
        xkb_x11_keymap_new_from_device(context.get(), connection.raw(), device, XKB_KEYMAP_COMPILE_NO_FLAGS));
}

} // namespace zelvo
