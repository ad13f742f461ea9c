#include "desktop/harness/Painter.h"

#include "desktop/harness/WaitFor.h"

#include <xcb/shape.h>

#include <stdexcept>

namespace zelvo::test {

namespace {

/// A visual of depth 32, which alpha requires.
xcb_visualid_t visualWithAlpha(xcb_screen_t* screen)
{
    for (auto depth = xcb_screen_allowed_depths_iterator(screen); depth.rem; xcb_depth_next(&depth))
        if (depth.data->depth == 32)
            return xcb_depth_visuals(depth.data)->visual_id;
    throw std::runtime_error("no visual of depth 32");
}

} // namespace

Painter::Painter(std::string const& display) : connection(connectTo(display)) {}

std::uint32_t Painter::open(PaintedWindow window)
{
    xcb_window_t const id = create(window);
    describe(id, window);
    cut(id, window);
    if (window.mapped)
        map(id);
    else
        sync();
    return id;
}

xcb_window_t Painter::create(PaintedWindow const& window)
{
    auto* x = connection.get();
    auto* screen = screenOf(x);
    xcb_window_t const id = xcb_generate_id(x);
    xcb_window_t const parent = window.parent ? window.parent : screen->root;
    auto const place = [&](auto create, std::uint8_t depth, auto kind, auto visual, auto mask,
                           auto const* values) {
        create(x, depth, id, parent, static_cast<std::int16_t>(window.x), static_cast<std::int16_t>(window.y),
               static_cast<std::uint16_t>(window.width), static_cast<std::uint16_t>(window.height),
               static_cast<std::uint16_t>(window.border), kind, visual, mask, values);
    };
    if (window.inputOnly) {
        std::uint32_t const values[] = {window.overrideRedirect};
        place(xcb_create_window, 0, XCB_WINDOW_CLASS_INPUT_ONLY, XCB_COPY_FROM_PARENT,
              XCB_CW_OVERRIDE_REDIRECT, values);
    } else if (window.argb) {
        xcb_visualid_t const visual = visualWithAlpha(screen);
        xcb_colormap_t const colors = xcb_generate_id(x);
        xcb_create_colormap(x, XCB_COLORMAP_ALLOC_NONE, colors, screen->root, visual);
        std::uint32_t const values[] = {window.color, window.borderColor, window.overrideRedirect, colors};
        place(xcb_create_window, 32, XCB_WINDOW_CLASS_INPUT_OUTPUT, visual,
              XCB_CW_BACK_PIXEL | XCB_CW_BORDER_PIXEL | XCB_CW_OVERRIDE_REDIRECT | XCB_CW_COLORMAP, values);
    } else {
        std::uint32_t const values[] = {window.color, window.borderColor, window.overrideRedirect};
        place(xcb_create_window, screen->root_depth, XCB_WINDOW_CLASS_INPUT_OUTPUT, screen->root_visual,
              XCB_CW_BACK_PIXEL | XCB_CW_BORDER_PIXEL | XCB_CW_OVERRIDE_REDIRECT, values);
    }
    return id;
}

void Painter::describe(xcb_window_t id, PaintedWindow const& window)
{
    if (!window.title.empty()) {
        setText(id, "_NET_WM_NAME", window.title);
        setText(id, "WM_NAME", window.title);
    }
    if (!window.instance.empty() || !window.className.empty())
        setText(id, "WM_CLASS", window.instance + '\0' + window.className + '\0');
    if (!window.gtkApplicationId.empty())
        setText(id, "_GTK_APPLICATION_ID", window.gtkApplicationId);
    if (!window.kdeDesktopFile.empty())
        setText(id, "_KDE_NET_WM_DESKTOP_FILE", window.kdeDesktopFile);
    if (window.claimedPid)
        setNumbers(id, "_NET_WM_PID", XCB_ATOM_CARDINAL, {static_cast<std::uint32_t>(*window.claimedPid)});
    if (window.transientFor)
        setNumbers(id, "WM_TRANSIENT_FOR", XCB_ATOM_WINDOW, {*window.transientFor});
    if (!window.overrideRedirect)
        describeManaged(id, window);
    if (!window.type.empty())
        setAtom(id, "_NET_WM_WINDOW_TYPE", window.type);
    if (!window.state.empty())
        setAtom(id, "_NET_WM_STATE", window.state);
    if (auto const& extents = window.gtkFrameExtents)
        setNumbers(id, "_GTK_FRAME_EXTENTS", XCB_ATOM_CARDINAL, {extents->begin(), extents->end()});
}

void Painter::describeManaged(xcb_window_t id, PaintedWindow const& window)
{
    // WM_NORMAL_HINTS with USPosition, which the window manager respects; gravity static.
    std::vector<std::uint32_t> hints(18, 0);
    hints[0] = 1u | 1u << 9;
    hints[1] = static_cast<std::uint32_t>(window.x);
    hints[2] = static_cast<std::uint32_t>(window.y);
    hints[17] = XCB_GRAVITY_STATIC;
    setNumbers(id, "WM_NORMAL_HINTS", XCB_ATOM_WM_SIZE_HINTS, hints);
}

void Painter::cut(xcb_window_t id, PaintedWindow const& window)
{
    auto const shape = [&](xcb_shape_sk_t kind, std::vector<PaintedArea> const& areas) {
        std::vector<xcb_rectangle_t> rectangles;
        for (PaintedArea const& area : areas)
            rectangles.push_back({static_cast<std::int16_t>(area.x), static_cast<std::int16_t>(area.y),
                                  static_cast<std::uint16_t>(area.width),
                                  static_cast<std::uint16_t>(area.height)});
        xcb_shape_rectangles(connection.get(), XCB_SHAPE_SO_SET, kind, XCB_CLIP_ORDERING_UNSORTED, id, 0, 0,
                             static_cast<std::uint32_t>(rectangles.size()), rectangles.data());
    };
    if (!window.shape.empty())
        shape(XCB_SHAPE_SK_BOUNDING, window.shape);
    if (window.emptyInputShape)
        shape(XCB_SHAPE_SK_INPUT, {});
}

void Painter::map(std::uint32_t window)
{
    xcb_map_window(connection.get(), window);
    require("the painter's window", [&] { return isViewable(connection.get(), window); });
}

void Painter::unmap(std::uint32_t window)
{
    xcb_unmap_window(connection.get(), window);
    sync();
}

void Painter::minimise(std::uint32_t window)
{
    xcb_client_message_event_t message{};
    message.response_type = XCB_CLIENT_MESSAGE;
    message.format = 32;
    message.window = window;
    message.type = atomOf(connection.get(), "WM_CHANGE_STATE");
    message.data.data32[0] = 3; // IconicState
    xcb_send_event(connection.get(), 0, root(),
                   XCB_EVENT_MASK_SUBSTRUCTURE_NOTIFY | XCB_EVENT_MASK_SUBSTRUCTURE_REDIRECT,
                   reinterpret_cast<char const*>(&message));
    sync();
}

void Painter::close(std::uint32_t window)
{
    xcb_destroy_window(connection.get(), window);
    sync();
}

void Painter::configure(std::uint32_t window, std::uint16_t what, std::vector<std::uint32_t> values)
{
    xcb_configure_window(connection.get(), window, what, values.data());
    sync();
}

void Painter::move(std::uint32_t window, int x, int y)
{
    configure(window, XCB_CONFIG_WINDOW_X | XCB_CONFIG_WINDOW_Y,
              {static_cast<std::uint32_t>(x), static_cast<std::uint32_t>(y)});
}

void Painter::resize(std::uint32_t window, int width, int height)
{
    configure(window, XCB_CONFIG_WINDOW_WIDTH | XCB_CONFIG_WINDOW_HEIGHT,
              {static_cast<std::uint32_t>(width), static_cast<std::uint32_t>(height)});
}

void Painter::raise(std::uint32_t window)
{
    configure(window, XCB_CONFIG_WINDOW_STACK_MODE, {XCB_STACK_MODE_ABOVE});
}

void Painter::lower(std::uint32_t window)
{
    configure(window, XCB_CONFIG_WINDOW_STACK_MODE, {XCB_STACK_MODE_BELOW});
}

void Painter::paint(std::uint32_t window, std::uint32_t color)
{
    xcb_change_window_attributes(connection.get(), window, XCB_CW_BACK_PIXEL, &color);
    xcb_clear_area(connection.get(), 0, window, 0, 0, 0, 0);
    sync();
}

void Painter::paintRoot(std::uint32_t color)
{
    paint(root(), color);
}

void Painter::embed(std::uint32_t window, std::uint32_t into, int x, int y)
{
    xcb_reparent_window(connection.get(), window, into, static_cast<std::int16_t>(x),
                        static_cast<std::int16_t>(y));
    map(window);
}

void Painter::movePointer(int x, int y)
{
    xcb_warp_pointer(connection.get(), XCB_NONE, root(), 0, 0, 0, 0, static_cast<std::int16_t>(x),
                     static_cast<std::int16_t>(y));
    sync();
}

void Painter::setText(std::uint32_t window, std::string const& property, std::string const& text)
{
    auto* x = connection.get();
    xcb_atom_t const type =
        property.starts_with("WM_") ? xcb_atom_t{XCB_ATOM_STRING} : atomOf(x, "UTF8_STRING");
    xcb_change_property(x, XCB_PROP_MODE_REPLACE, window, atomOf(x, property), type, 8,
                        static_cast<std::uint32_t>(text.size()), text.data());
    sync();
}

void Painter::setAtom(xcb_window_t id, char const* property, std::string const& value)
{
    setNumbers(id, property, XCB_ATOM_ATOM, {atomOf(connection.get(), value)});
}

void Painter::setNumbers(xcb_window_t id,
                         char const* property,
                         xcb_atom_t type,
                         std::vector<std::uint32_t> const& numbers)
{
    auto* x = connection.get();
    xcb_change_property(x, XCB_PROP_MODE_REPLACE, id, atomOf(x, property), type, 32,
                        static_cast<std::uint32_t>(numbers.size()), numbers.data());
}

} // namespace zelvo::test
