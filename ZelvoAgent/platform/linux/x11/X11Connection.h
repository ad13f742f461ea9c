#pragma once

#include "platform/linux/x11/X11Atoms.h"

#include <cstdint>
#include <memory>
#include <string>

struct xcb_connection_t;
struct xcb_screen_t; // NOLINT(readability-identifier-naming): XCB names it.
struct xcb_setup_t;  // NOLINT(readability-identifier-naming): XCB names it.

namespace zelvo {

/// The server's capabilities, read once when the connection opens.
struct X11Capabilities {
    bool xtest = false;
    bool xwayland =
        false; ///< the server only shows its windows to a Wayland session, which keeps the screen to itself
    bool shm = false;       ///< shared memory works, so the server runs on this machine
    bool composite = false; ///< at least 0.2: windows have named pixmaps
    bool xfixes = false;    ///< at least 2: the pointer's picture
    bool shape = false;     ///< at least 1.1: input shapes
    bool damage = false;    ///< the server reports drawing
    bool res = false;       ///< at least 1.2: process ids of clients
    bool randr = false;     ///< at least 1.5: monitors
    std::uint8_t randrFirstEvent = 0;
    std::uint8_t shapeFirstEvent = 0;
    std::uint8_t damageFirstEvent = 0;
    bool operator==(X11Capabilities const&) const = default;
};

/// A connection to the X server with its extensions and atoms. Errors of requests without a reply end
/// nothing: they arrive among the events. Thread: any; waiting for a reply blocks only the caller.
class X11Connection {
public:
    /// Null if the display can't be reached. Blocks for a few round trips.
    /// display  empty for $DISPLAY
    static std::unique_ptr<X11Connection> open(std::string const& display = {});
    ~X11Connection();
    X11Connection(X11Connection const&) = delete;
    X11Connection& operator=(X11Connection const&) = delete;

    xcb_connection_t* get() const { return connection; }
    X11Capabilities const& capabilities() const { return can; }
    X11Atoms const& atoms() const { return names; }
    std::uint32_t root() const { return rootWindow; }
    std::uint32_t rootVisual() const { return visual; }
    std::uint8_t rootDepth() const { return depth; }
    /// True if the screen's pixels are BGRX, 8 bits each in 4 bytes.
    bool hasPlainPixels() const { return plainPixels; }
    /// The screen number of the display name; the atoms of screen-wide selections end in it.
    int screenNumber() const { return number; }
    /// The bits of a resource id that identify its client.
    std::uint32_t clientOf(std::uint32_t resource) const { return resource & ~resourceMask; }
    /// False once the connection is lost. Sends nothing.
    bool isAlive() const;
    /// Returns when the server has processed every request of this connection.
    void sync() const;
    /// Discards events and errors that nobody waits for.
    void drain() const;

private:
    X11Connection(xcb_connection_t* connection, int number);
    void readScreen();
    void readPixelFormat(xcb_setup_t const& setup, xcb_screen_t const& screen);
    void askExtensions();

    xcb_connection_t* connection;
    int number;
    X11Capabilities can;
    X11Atoms names;
    std::uint32_t rootWindow = 0;
    std::uint32_t visual = 0;
    std::uint32_t resourceMask = 0;
    std::uint8_t depth = 24;
    bool plainPixels = false;
};

} // namespace zelvo
