#include "desktop/input/InputFixture.h"

#include "base/Text.h"
#include "desktop/harness/XQuestions.h"
#include "platform/linux/x11/input/XkbProtocol.h"

#include <xcb/xtest.h>

namespace zelvo::test {

InputFixture::InputFixture(DesktopOptions options) : desktop(options)
{
    desktop.adoptEnvironment();
    restartPosting();
}

InputFixture::~InputFixture()
{
    posting.reset();
    live.stop();
}

void InputFixture::restartPosting()
{
    posting.reset();
    posting.emplace(contexts, clock, [this] { return layout; });
}

void InputFixture::typeText(std::string text)
{
    await(typeLikeTheDriver(std::move(text)));
}

Task<> InputFixture::typeLikeTheDriver(std::string text)
{
    co_await posting->beginText(text);
    for (std::string const& chunk : text::chunks(text, 20)) {
        TextEvent down{KeyEvent::Kind::down, chunk};
        TextEvent up{KeyEvent::Kind::up, chunk};
        co_await posting->ready(down);
        bool const made = co_await posting->post(down);
        if (!made)
            break;
        co_await posting->post(up);
        co_await clock.sleep(4ms);
    }
    co_await posting->endText();
}

void InputFixture::chord(std::uint16_t keyCode, ModifierFlags flags)
{
    post(KeyEvent{KeyEvent::Kind::down, keyCode, flags});
    post(KeyEvent{KeyEvent::Kind::up, keyCode, flags});
}

void InputFixture::click(DesktopPoint point, int count)
{
    for (int state = 1; state <= count; ++state) {
        post(MouseEvent{MouseEvent::Kind::down, point, MouseButton::left, state, {}});
        post(MouseEvent{MouseEvent::Kind::up, point, MouseButton::left, state, {}});
    }
}

std::string InputFixture::keymap()
{
    return desktop.run({"xkbcomp", "-xkb", desktop.display(), "-"}) + desktop.run({"xmodmap", "-pke"});
}

void InputFixture::useLayout(std::string const& layouts, int group)
{
    desktop.run({"setxkbmap", layouts});
    XConnection const x = connectTo(desktop.display());
    XReply<xcb_xkb_use_extension_reply_t> const used(
        xcb_xkb_use_extension_reply(x.get(), xcb_xkb_use_extension(x.get(), 1, 0), nullptr));
    xcb_xkb_latch_lock_state(x.get(), XCB_XKB_ID_USE_CORE_KBD, 0, 0, 1, static_cast<std::uint8_t>(group), 0,
                             0, 0);
    syncWith(x.get());
}

void InputFixture::lockModifiers(std::uint8_t mask, bool on) const
{
    XConnection const x = connectTo(desktop.display());
    XReply<xcb_xkb_use_extension_reply_t> const used(
        xcb_xkb_use_extension_reply(x.get(), xcb_xkb_use_extension(x.get(), 1, 0), nullptr));
    xcb_xkb_latch_lock_state(x.get(), XCB_XKB_ID_USE_CORE_KBD, mask, on ? mask : 0, 0, 0, 0, 0, 0);
    syncWith(x.get());
}

void InputFixture::personKey(std::uint8_t keycode, bool down) const
{
    XConnection const x = connectTo(desktop.display());
    xcb_test_fake_input(x.get(), down ? XCB_KEY_PRESS : XCB_KEY_RELEASE, keycode, XCB_CURRENT_TIME, XCB_NONE,
                        0, 0, 0);
    syncWith(x.get());
}

std::uint16_t InputFixture::heldMask() const
{
    XConnection const x = connectTo(desktop.display());
    XReply<xcb_query_pointer_reply_t> const pointer(
        xcb_query_pointer_reply(x.get(), xcb_query_pointer(x.get(), screenOf(x.get())->root), nullptr));
    return pointer->mask;
}

} // namespace zelvo::test
