#pragma once

#include "platform/linux/x11/X11Connection.h"

#include <cstdint>
#include <deque>
#include <functional>
#include <memory>
#include <string>

namespace zelvo {

/// The atoms of the clipboard protocols.
struct ClipboardAtoms {
    std::uint32_t clipboard = 0;
    std::uint32_t manager = 0; ///< the selection of a clipboard manager
    std::uint32_t saveTargets = 0;
    std::uint32_t targets = 0;
    std::uint32_t timestamp = 0;
    std::uint32_t multiple = 0;
    std::uint32_t atomPair = 0;
    std::uint32_t incr = 0;
    std::uint32_t null = 0;
    std::uint32_t utf8String = 0;
    std::uint32_t text = 0;
    std::uint32_t textPlain = 0;
    std::uint32_t textPlainUtf8 = 0;
    std::uint32_t content = 0; ///< our property that owners store their answers in
};

/// The X connection of both sides of the clipboard: a separate connection, a window that is never mapped, the
/// server's time, and asynchronous replies. Only open() waits for the server. Thread: one at a time; after
/// open() always the agent's.
class ClipboardLink {
public:
    using Reply = std::function<void(void const* reply)>; ///< null if there was an error instead
    using Time = std::function<void(std::uint32_t time)>;

    /// Null if the server cannot be reached.
    /// display  empty for $DISPLAY
    static std::unique_ptr<ClipboardLink> open(std::string const& display);
    ~ClipboardLink();
    ClipboardLink(ClipboardLink const&) = delete;
    ClipboardLink& operator=(ClipboardLink const&) = delete;

    xcb_connection_t* x() const { return connection->get(); }
    std::shared_ptr<X11Connection> const& server() const { return connection; }
    ClipboardAtoms const& atoms() const { return names; }
    std::uint32_t window() const { return ownWindow; }
    /// The event of a changed owner; 0 without XFIXES.
    std::uint8_t ownerEvent() const { return changeEvent; }
    /// Bytes of a text that are transferred at once.
    std::uint32_t pieceSize() const { return piece; }

    /// Calls `handler` with the reply to a request that was sent.
    void expect(unsigned sequence, Reply handler);
    /// Calls `handler` with the server's time.
    void askTime(Time handler);
    /// Passes arrived replies to their handlers. False if there were none.
    bool takeReplies();
    /// Handles a change of a property of our window.
    void noteProperty(void const* event);

private:
    explicit ClipboardLink(std::unique_ptr<X11Connection> opened);
    void internAtoms();
    void makeWindow();
    void watchOwners();

    struct Expected {
        unsigned sequence;
        Reply handler;
    };

    std::shared_ptr<X11Connection> connection;
    ClipboardAtoms names;
    std::uint32_t ownWindow = 0;
    std::uint32_t clock = 0; ///< a property that is changed only to learn the time
    std::uint32_t piece = 0;
    std::uint8_t changeEvent = 0;
    std::deque<Expected> expected;
    std::deque<Time> timeAsked;
};

} // namespace zelvo
