#include "desktop/input/EventWindow.h"

#include "desktop/harness/WaitFor.h"

namespace zelvo::test {

EventWindow::EventWindow(std::string const& display) : x(connectTo(display))
{
    xcb_screen_t* const screen = screenOf(x.get());
    xcb_window_t const window = xcb_generate_id(x.get());
    std::uint32_t const values[] = {1, XCB_EVENT_MASK_KEY_PRESS | XCB_EVENT_MASK_KEY_RELEASE |
                                           XCB_EVENT_MASK_BUTTON_PRESS | XCB_EVENT_MASK_BUTTON_RELEASE};
    xcb_create_window(x.get(), XCB_COPY_FROM_PARENT, window, screen->root, 0, 0, screen->width_in_pixels,
                      screen->height_in_pixels, 0, XCB_WINDOW_CLASS_INPUT_OUTPUT, XCB_COPY_FROM_PARENT,
                      XCB_CW_OVERRIDE_REDIRECT | XCB_CW_EVENT_MASK, values);
    xcb_map_window(x.get(), window);
    syncWith(x.get());
    require("the window", [&] { return isViewable(x.get(), window); });
    xcb_set_input_focus(x.get(), XCB_INPUT_FOCUS_POINTER_ROOT, window, XCB_CURRENT_TIME);
    syncWith(x.get());
}

std::vector<std::string> EventWindow::take()
{
    syncWith(x.get());
    std::vector<std::string> seen;
    while (XReply<xcb_generic_event_t> event{xcb_poll_for_event(x.get())}) {
        auto const* input = reinterpret_cast<xcb_button_press_event_t const*>(event.get());
        int const type = event->response_type & 0x7F;
        bool const key = type == XCB_KEY_PRESS || type == XCB_KEY_RELEASE;
        bool const button = type == XCB_BUTTON_PRESS || type == XCB_BUTTON_RELEASE;
        if (!key && !button)
            continue;
        bool const down = type == XCB_KEY_PRESS || type == XCB_BUTTON_PRESS;
        seen.push_back((key ? "key" : "button") + std::string(down ? "+" : "-") +
                       std::to_string(input->detail));
        lastX = input->root_x;
        lastY = input->root_y;
        lastState = input->state;
    }
    return seen;
}

} // namespace zelvo::test
