#include "platform/linux/wayland/client/SeatLayout.h"

#include <unistd.h>
#include <wayland-client-protocol.h>
#include <xkbcommon/xkbcommon.h>

#include <cstdlib>
#include <memory>
#include <utility>

namespace zelvo {

namespace {

constexpr unsigned longestKeymap = 4U << 20;

std::string defaultKeymap()
{
    std::unique_ptr<xkb_context, decltype(&xkb_context_unref)> const context(
        xkb_context_new(XKB_CONTEXT_NO_FLAGS), xkb_context_unref);
    std::unique_ptr<xkb_keymap, decltype(&xkb_keymap_unref)> const keymap(
        context ? xkb_keymap_new_from_names(context.get(), nullptr, XKB_KEYMAP_COMPILE_NO_FLAGS) : nullptr,
        xkb_keymap_unref);
    std::unique_ptr<char, decltype(&std::free)> const text(
        keymap ? xkb_keymap_get_as_string(keymap.get(), XKB_KEYMAP_FORMAT_TEXT_V1) : nullptr, std::free);
    return text ? text.get() : std::string();
}

} // namespace

struct SeatLayout::Listener {
    static void capabilities(void* data, wl_seat*, std::uint32_t capabilities)
    {
        static_cast<SeatLayout*>(data)->setCapabilities(capabilities);
    }
    static void name(void*, wl_seat*, char const*) {}
    static void keymap(void* data, wl_keyboard*, std::uint32_t format, std::int32_t file, std::uint32_t size)
    {
        if (format == WL_KEYBOARD_KEYMAP_FORMAT_XKB_V1)
            static_cast<SeatLayout*>(data)->take(file, size);
        ::close(file);
    }
    static void enter(void*, wl_keyboard*, std::uint32_t, wl_surface*, wl_array*) {}
    static void leave(void*, wl_keyboard*, std::uint32_t, wl_surface*) {}
    static void key(void*, wl_keyboard*, std::uint32_t, std::uint32_t, std::uint32_t, std::uint32_t) {}
    static void
    modifiers(void*, wl_keyboard*, std::uint32_t, std::uint32_t, std::uint32_t, std::uint32_t, std::uint32_t)
    {
    }
    static void repeat(void*, wl_keyboard*, std::int32_t, std::int32_t) {}

    static constexpr wl_seat_listener ofSeat{.capabilities = capabilities, .name = name};
    static constexpr wl_keyboard_listener ofKeyboard{.keymap = keymap,
                                                     .enter = enter,
                                                     .leave = leave,
                                                     .key = key,
                                                     .modifiers = modifiers,
                                                     .repeat_info = repeat};
};

SeatLayout::SeatLayout(wl_seat* seat, std::function<void(std::string const&)> call)
    : object(seat), changed(std::move(call)), keymap(defaultKeymap())
{
    wl_seat_add_listener(object, &Listener::ofSeat, this);
}

SeatLayout::~SeatLayout()
{
    setCapabilities(0);
    wl_seat_destroy(object);
}

void SeatLayout::setCapabilities(unsigned capabilities)
{
    bool const hasKeyboard = capabilities & WL_SEAT_CAPABILITY_KEYBOARD;
    if (hasKeyboard && !keyboard) {
        keyboard = wl_seat_get_keyboard(object);
        wl_keyboard_add_listener(keyboard, &Listener::ofKeyboard, this);
    } else if (!hasKeyboard && keyboard) {
        wl_keyboard_destroy(std::exchange(keyboard, nullptr));
    }
}

void SeatLayout::take(int file, unsigned size)
{
    if (size == 0 || size > longestKeymap)
        return;
    std::string text(size, '\0');
    if (::pread(file, text.data(), text.size(), 0) != static_cast<ssize_t>(text.size()))
        return;
    text.resize(text.find_last_not_of('\0') + 1);
    if (text.empty() || text.find(textKeymapName) != std::string::npos)
        return;
    keymap = std::move(text);
    if (changed)
        changed(keymap);
}

} // namespace zelvo
