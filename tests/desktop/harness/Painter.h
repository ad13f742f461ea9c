#pragma once

#include "desktop/harness/XQuestions.h"

#include <sys/types.h>

#include <array>
#include <cstdint>
#include <optional>
#include <string>
#include <vector>

namespace zelvo::test {

/// A rectangle in pixels.
struct PaintedArea {
    int x = 0;
    int y = 0;
    int width = 0;
    int height = 0;
};

/// A window to create, filled with one colour.
struct PaintedWindow {
    int x = 0; ///< in the parent; a managed window's frame is around it
    int y = 0;
    int width = 100;
    int height = 100;
    std::uint32_t color = 0x00ff00; ///< RRGGBB; with argb AARRGGBB, premultiplied
    bool argb = false;              ///< depth 32
    bool inputOnly = false;
    bool overrideRedirect = false; ///< not managed by the window manager, like a menu
    bool mapped = true;
    bool emptyInputShape = false;
    int border = 0;
    std::uint32_t borderColor = 0x000000;
    std::vector<PaintedArea> shape = {}; ///< the bounding shape; empty: the whole window
    std::uint32_t parent = 0;            ///< 0: the root
    std::optional<std::uint32_t> transientFor = {};
    std::string title = {};
    std::string instance = {}; ///< of WM_CLASS, which is absent if both names are empty
    std::string className = {};
    std::optional<pid_t> claimedPid = {}; ///< _NET_WM_PID
    std::string gtkApplicationId = {};
    std::string kdeDesktopFile = {};
    std::string type = {};                                            ///< "_NET_WM_WINDOW_TYPE_DIALOG"
    std::string state = {};                                           ///< "_NET_WM_STATE_ABOVE"
    std::optional<std::array<std::uint32_t, 4>> gtkFrameExtents = {}; ///< left, right, top, bottom
};

/// Creates plain coloured windows and moves them. Each call returns after its effect is on the screen.
/// Thread: one at a time.
class Painter {
public:
    explicit Painter(std::string const& display);

    /// Opens a window, waits until it is on the screen if `mapped`, and returns its id.
    std::uint32_t open(PaintedWindow window);
    void move(std::uint32_t window, int x, int y);
    void resize(std::uint32_t window, int width, int height);
    void raise(std::uint32_t window);
    void lower(std::uint32_t window);
    void map(std::uint32_t window);
    void unmap(std::uint32_t window);
    /// Asks the window manager to minimise it; map() restores the window.
    void minimise(std::uint32_t window);
    void close(std::uint32_t window);
    void paint(std::uint32_t window, std::uint32_t color);
    /// Paints the root window, below everything.
    void paintRoot(std::uint32_t color);
    /// Reparents a window into another, as a plug into a socket.
    void embed(std::uint32_t window, std::uint32_t into, int x, int y);
    void movePointer(int x, int y);
    void setText(std::uint32_t window, std::string const& property, std::string const& text);
    void sync() { syncWith(connection.get()); }

    xcb_connection_t* x() { return connection.get(); }
    std::uint32_t root() { return screenOf(connection.get())->root; }

private:
    xcb_window_t create(PaintedWindow const& window);
    void describe(xcb_window_t id, PaintedWindow const& window);
    void describeManaged(xcb_window_t id, PaintedWindow const& window);
    void cut(xcb_window_t id, PaintedWindow const& window);
    void setAtom(xcb_window_t id, char const* property, std::string const& value);
    void setNumbers(xcb_window_t id,
                    char const* property,
                    xcb_atom_t type,
                    std::vector<std::uint32_t> const& numbers);
    void configure(std::uint32_t window, std::uint16_t what, std::vector<std::uint32_t> values);

    XConnection connection;
};

} // namespace zelvo::test
