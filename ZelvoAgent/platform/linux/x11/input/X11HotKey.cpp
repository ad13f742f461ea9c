#include "platform/linux/x11/input/X11HotKey.h"

#include "base/Hop.h"
#include "platform/linux/x11/input/HotKeyChord.h"
#include "platform/linux/x11/input/InputConnection.h"
#include "platform/linux/x11/input/ServerKeymap.h"
#include "platform/linux/x11/input/XkbProtocol.h"

#include <boost/asio/posix/stream_descriptor.hpp>

#include <unistd.h>

#include <optional>

namespace zelvo {

/// Holds the grabs and waits for presses until it is told to stop.
class X11HotKey::Listener : public std::enable_shared_from_this<Listener> {
public:
    Listener(Contexts contexts, std::function<void()> onPressed)
        : contexts(contexts), onPressed(std::move(onPressed)), readable(contexts.agent)
    {
    }

    void start()
    {
        task = spawn(contexts.agent, [self = shared_from_this()] { return self->run(); });
    }

    void stop() { task.cancel(); }

private:
    Task<> run()
    {
        bool const opened = co_await on(contexts.workers, [this] { return open(); });
        if (!opened)
            co_return;
        readable.assign(dup(xcb_get_file_descriptor(connection->raw())));
        while (connection->isAlive()) {
            takeEvents();
            if (connection->keymapChanged) {
                co_await on(contexts.workers, [this] { follow(); });
                continue; // Events may have come in with the replies.
            }
            co_await readable.async_wait(asio::posix::stream_descriptor::wait_read, asio::use_awaitable);
        }
    }

    bool open()
    {
        connection = InputConnection::open();
        if (!connection)
            return false;
        // A repeat is then a press without a release before it.
        constexpr auto repeat = XCB_XKB_PER_CLIENT_FLAG_DETECTABLE_AUTO_REPEAT;
        xcb_xkb_per_client_flags(connection->raw(), XCB_XKB_ID_USE_CORE_KBD, repeat, repeat, 0, 0, 0);
        connection->flush();
        return true;
    }

    void takeEvents()
    {
        connection->pump([this](std::uint8_t type, void const* event) {
            if (type == XCB_KEY_PRESS)
                keyPressed(*static_cast<xcb_key_press_event_t const*>(event));
            else if (type == XCB_KEY_RELEASE &&
                     static_cast<xcb_key_release_event_t const*>(event)->detail == down)
                down.reset();
        });
    }

    void keyPressed(xcb_key_press_event_t const& event)
    {
        bool const repeats = down == event.detail;
        down = event.detail;
        constexpr int groupShift = 13; // Bits 13 and 14 of the state are the group.
        if (!repeats && grabbed.isPressedBy(event.detail, event.state >> groupShift & 3U))
            asio::post(contexts.main, onPressed);
    }

    /// Moves the grabs to where the keymap has the key now. A key that another client holds fails in silence.
    void follow()
    {
        connection->keymapChanged = false;
        KeymapPtr const keymap = readServerKeymap(*connection);
        if (!keymap)
            return;
        HotKeyChord const wanted = HotKeyChord::on(keymap.get());
        if (wanted == grabbed)
            return;
        forEachGrab(grabbed, [this](std::uint8_t key, std::uint16_t modifiers) {
            xcb_ungrab_key(connection->raw(), key, connection->root(), modifiers);
        });
        forEachGrab(wanted, [this](std::uint8_t key, std::uint16_t modifiers) {
            xcb_grab_key(connection->raw(), 0, connection->root(), modifiers, key, XCB_GRAB_MODE_ASYNC,
                         XCB_GRAB_MODE_ASYNC);
        });
        connection->flush();
        grabbed = wanted;
    }

    template <class F>
    static void forEachGrab(HotKeyChord const& chord, F act)
    {
        for (auto const& [key, groups] : chord.groupsByKey)
            for (std::uint32_t const modifiers : chord.modifierMasks)
                act(key, static_cast<std::uint16_t>(modifiers));
    }

    Contexts contexts;
    std::function<void()> onPressed;
    std::unique_ptr<InputConnection> connection;
    asio::posix::stream_descriptor readable;
    HotKeyChord grabbed;
    std::optional<std::uint8_t> down; ///< the key that is held
    TaskHandle task;
};

X11HotKey::X11HotKey(Contexts contexts) : contexts(std::move(contexts)) {}

X11HotKey::~X11HotKey()
{
    if (listener)
        listener->stop();
}

void X11HotKey::start(std::function<void()> onPressed)
{
    listener = std::make_shared<Listener>(contexts, std::move(onPressed));
    listener->start();
}

} // namespace zelvo
