#include "DrawingLog.h"

#include <poll.h>
#include <xcb/damage.h>
#include <xcb/xtest.h>

#include <memory>
#include <stdexcept>

namespace zelvo {

namespace {

using std::chrono::steady_clock;

constexpr std::uint8_t leftButton = 1;

} // namespace

DrawingLog::DrawingLog(std::string const& display) : connection(test::connectTo(display))
{
    xcb_connection_t* const x = connection.get();
    damageEvent = xcb_get_extension_data(x, &xcb_damage_id)->first_event;
    test::XReply<xcb_damage_query_version_reply_t> const version(
        xcb_damage_query_version_reply(x, xcb_damage_query_version(x, 1, 1), nullptr));
    if (!version)
        throw std::runtime_error("the X server does not report drawing");
    xcb_damage_create(x, xcb_generate_id(x), test::screenOf(x)->root, XCB_DAMAGE_REPORT_LEVEL_RAW_RECTANGLES);
    test::syncWith(x);
}

double DrawingLog::click(int x, int y, std::chrono::milliseconds rest)
{
    xcb_test_fake_input(connection.get(), XCB_MOTION_NOTIFY, 0, XCB_CURRENT_TIME,
                        test::screenOf(connection.get())->root, static_cast<std::int16_t>(x),
                        static_cast<std::int16_t>(y), 0);
    test::syncWith(connection.get());
    while (awaitDrawing(steady_clock::now() + rest)) {
        // What lights up below the pointer is not the dialog.
    }
    auto const before = steady_clock::now();
    press(x, y);
    auto last = before;
    while (awaitDrawing(last + rest))
        last = steady_clock::now();
    if (last == before)
        throw std::runtime_error("nothing was drawn");
    return std::chrono::duration<double>(last - before).count();
}

void DrawingLog::press(int x, int y)
{
    for (std::uint8_t const type : {XCB_BUTTON_PRESS, XCB_BUTTON_RELEASE})
        xcb_test_fake_input(connection.get(), type, leftButton, XCB_CURRENT_TIME, XCB_NONE,
                            static_cast<std::int16_t>(x), static_cast<std::int16_t>(y), 0);
    xcb_flush(connection.get());
}

bool DrawingLog::awaitDrawing(Moment end)
{
    while (true) {
        std::unique_ptr<xcb_generic_event_t, test::FreeReply> const event(
            xcb_poll_for_event(connection.get()));
        if (event && (event->response_type & 0x7F) == damageEvent + XCB_DAMAGE_NOTIFY)
            return true;
        if (event)
            continue;
        auto const left = std::chrono::ceil<std::chrono::milliseconds>(end - steady_clock::now());
        if (left.count() <= 0)
            return false;
        pollfd waited{.fd = xcb_get_file_descriptor(connection.get()), .events = POLLIN, .revents = 0};
        ::poll(&waited, 1, static_cast<int>(left.count()));
    }
}

} // namespace zelvo
