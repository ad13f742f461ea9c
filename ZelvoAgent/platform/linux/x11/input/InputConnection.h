#pragma once

#include "platform/linux/x11/XReply.h"

#include <atomic>
#include <cstdint>
#include <functional>
#include <memory>
#include <mutex>
#include <span>
#include <string_view>
#include <vector>

struct xcb_connection_t;

namespace zelvo {

/// One connection to the X server for making input, with the keyboard extension switched on.
/// Thread: any; `other` of pump() must not call it again.
class InputConnection {
public:
    /// Nothing when there is no server, or it lacks XTEST or the keyboard extension.
    static std::unique_ptr<InputConnection> open();
    ~InputConnection();
    InputConnection(InputConnection const&) = delete;
    InputConnection& operator=(InputConnection const&) = delete;

    xcb_connection_t* raw() const { return connection; }
    std::uint32_t root() const { return rootWindow; }
    bool isAlive() const;
    void flush() const;
    /// Returns when the server has carried out everything that was sent. False when the connection is lost.
    bool roundTrip() const;

    std::uint32_t atom(std::string_view name) const;
    /// A property of 32-bit values; empty when it is not there.
    std::vector<std::uint32_t> property(std::uint32_t window, std::uint32_t name) const;
    void setRootProperty(std::uint32_t name, std::span<std::uint32_t const> values) const;
    void deleteRootProperty(std::uint32_t name) const;

    /// Handles the events that have arrived, without waiting; those that are neither pongs nor changes of the
    /// keymap go to `other`.
    void pump(std::function<void(std::uint8_t type, void const* event)> const& other = {});
    /// The answer to a ping: what the client sent back with the serial number.
    struct Pong {
        std::uint32_t serial;
        std::uint32_t window;
        bool operator==(Pong const&) const = default;
    };
    /// Whether this pong has arrived. Forgets all pongs that have.
    bool takePong(Pong const& expected);
    std::atomic<bool> keymapChanged = true; ///< set by pump(); reset by whoever reads the keymap

private:
    InputConnection(xcb_connection_t* connection, std::uint32_t root);
    bool prepare();
    void watchKeymap();

    xcb_connection_t* connection;
    std::uint32_t rootWindow;
    std::uint8_t firstKeyboardEvent = 0;
    std::uint32_t protocolsAtom = 0;
    std::uint32_t pingAtom = 0;
    std::mutex pumping;
    std::vector<Pong> pongs; ///< guarded by `pumping`
};

} // namespace zelvo
