#pragma once

#include "base/LockedBox.h"

#include <wayland-client-core.h>

#include <chrono>
#include <cstdint>
#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

struct wl_registry; // NOLINT(readability-identifier-naming): libwayland names it.

namespace zelvo {

/// A deleter for the objects of libwayland: `std::unique_ptr<wl_output, ReleaseProxy<wl_output_release>>`.
/// They end before their connection, on the thread that reads it.
template <auto release>
struct ReleaseProxy {
    template <class T>
    void operator()(T* raw) const noexcept
    {
        release(raw);
    }
};

/// The path of a compositor's socket; empty if there is none.
/// wanted  a path, or a name in $XDG_RUNTIME_DIR; empty for $WAYLAND_DISPLAY, else "wayland-0"
std::string waylandSocketPath(std::string const& wanted = {});

/// What a compositor offers.
struct WaylandGlobal {
    std::uint32_t name = 0; ///< the compositor's number for it
    std::string interface;
    std::uint32_t version = 0;
    bool operator==(WaylandGlobal const&) const = default;
};

/// A connection to the compositor. One thread at a time reads it and runs the listeners: the agent by
/// WaylandEvents, or a worker that waits with dispatchUntil() or roundtrip(); never both. Nothing here waits
/// without an end, even if the compositor is stopped or dead. Requests may be made on any thread.
class WaylandClient {
public:
    using Patience = std::chrono::milliseconds;

    /// Null if there is no compositor or it does not list its globals in time. Blocks for some milliseconds.
    /// socket  as for waylandSocketPath()
    static std::shared_ptr<WaylandClient> open(std::string const& socket = {},
                                               Patience patience = Patience(2000));
    ~WaylandClient();
    WaylandClient(WaylandClient const&) = delete;
    WaylandClient& operator=(WaylandClient const&) = delete;

    wl_display* get() const { return display; }
    /// False once the connection is lost or ended by a protocol error. Thread: any; sends nothing.
    bool isAlive() const;
    /// Thread: any.
    std::vector<WaylandGlobal> globals() const { return offered.get(); }
    /// The first one of an interface. Thread: any.
    std::optional<WaylandGlobal> find(std::string_view interface) const;
    /// The object of a global, at most of the version that we know. Null if it is absent or older than
    /// `oldest`.
    template <class T>
    T* bind(wl_interface const& interface, std::uint32_t newest, std::uint32_t oldest = 1)
    {
        auto const global = find(interface.name);
        return global && global->version >= oldest ? bind<T>(*global, interface, newest) : nullptr;
    }
    template <class T>
    T* bind(WaylandGlobal const& global, wl_interface const& interface, std::uint32_t newest)
    {
        return static_cast<T*>(bindObject(global, interface, newest));
    }
    /// Calls `added` for each global of now, and from then on each observer as globals come and go. Thread:
    /// the one that reads. Added once and never removed.
    void observeGlobals(std::function<void(WaylandGlobal const&)> added,
                        std::function<void(WaylandGlobal const&)> removed);

    /// Sends what was requested, as far as the compositor takes it now. Thread: any.
    void flush();
    /// Reads and runs listeners until `done`. False if that does not happen in time or the connection is
    /// lost.
    bool dispatchUntil(std::function<bool()> const& done, Patience patience);
    /// Returns when the compositor has processed every request made so far; false as above.
    bool roundtrip(Patience patience = Patience(2000));
    /// Runs listeners of what has arrived, and sends what was requested. Never waits. False if the connection
    /// is lost.
    bool dispatchArrived();
    /// Whether requests wait for the compositor to read. For WaylandEvents.
    bool hasUnsent() const { return unsent; }

private:
    struct Listener;
    struct Observer {
        std::function<void(WaylandGlobal const&)> added;
        std::function<void(WaylandGlobal const&)> removed;
    };
    explicit WaylandClient(wl_display* display);
    void* bindObject(WaylandGlobal const& global, wl_interface const& interface, std::uint32_t newest);
    bool send();
    bool read(int milliseconds);

    wl_display* display;
    wl_registry* registry;
    LockedBox<std::vector<WaylandGlobal>> offered;
    std::vector<Observer> observers; // the reading thread
    bool unsent = false;             // the reading thread
};

} // namespace zelvo
