#include "platform/linux/wayland/input/SeatKeyboard.h"

#include "platform/linux/input/KeyReadings.h"

#include <xkbcommon/xkbcommon.h>

#include <utility>

namespace zelvo {

namespace {

constexpr std::uint32_t capsLockMask = 0x02;

struct ReleaseContext {
    void operator()(xkb_context* context) const noexcept { xkb_context_unref(context); }
};

xkb_keymap* parsed(std::string const& text)
{
    std::unique_ptr<xkb_context, ReleaseContext> const context(
        xkb_context_new(XKB_CONTEXT_NO_DEFAULT_INCLUDES));
    if (!context)
        return nullptr;
    xkb_context_set_log_level(context.get(), XKB_LOG_LEVEL_CRITICAL);
    return xkb_keymap_new_from_buffer(context.get(), text.data(), text.size(), XKB_KEYMAP_FORMAT_TEXT_V1,
                                      XKB_KEYMAP_COMPILE_NO_FLAGS);
}

} // namespace

void SeatKeyboard::Release::operator()(xkb_keymap* released) const noexcept
{
    xkb_keymap_unref(released);
}

SeatKeyboard::SeatKeyboard(std::function<std::optional<SeatKeymap>()> read) : read(std::move(read)) {}

bool SeatKeyboard::refresh()
{
    auto now = read();
    status = Status::absent;
    if (!now)
        return false;
    bool const isKnown = (keymap && seen == now) || take(std::move(*now));
    status = isKnown ? Status::known : Status::unreadable;
    return isKnown;
}

bool SeatKeyboard::take(SeatKeymap now)
{
    if (!keymap || !seen || seen->text != now.text) {
        keymap.reset(parsed(now.text));
        if (!keymap)
            return false;
        modifiers = ModifierKeys::of(keymap.get());
    }
    state = {.lockedModifiers = now.hasCapsLock ? capsLockMask : 0, .lockedGroup = now.group.value_or(0)};
    table = KeyTable(keymap.get(), state, modifiers);
    isCertainNow = now.group || xkb_keymap_num_layouts(keymap.get()) <= 1;
    seen = std::move(now);
    return true;
}

std::vector<std::uint8_t> SeatKeyboard::modifiersFor(ModifierFlags flags) const
{
    std::vector<std::uint8_t> keys;
    if (flags.cmd || flags.ctrl)
        keys.push_back(modifiers.control);
    if (flags.alt)
        keys.push_back(modifiers.alt);
    if (flags.shift)
        keys.push_back(modifiers.shift);
    return keys;
}

std::vector<std::vector<std::string>> SeatKeyboard::readings(std::uint8_t keycode, ModifierFlags flags) const
{
    if (!keymap)
        return {};
    return readingsOf(keymap.get(), state, modifiers, keycode, flags);
}

} // namespace zelvo
