#pragma once

#include "platform/linux/x11/X11Connection.h"

#include <cstdint>
#include <deque>
#include <functional>
#include <memory>
#include <string>

namespace zelvo {

/// The names that the clipboard is spoken of with.
struct ClipboardAtoms {
    std::uint32_t clipboard = 0;
    std::uint32_t manager = 0; ///< the selection of a program that keeps the clipboard of those that end
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
    std::uint32_t content = 0; ///< the property of ours that others put their answers in
};

/// What both sides of the clipboard stand on: a connection of their own, a window that is never shown, the
/// server's time, and answers that are taken when they are there. Nothing here waits for the server but
/// open(). Thread: one at a time; after open() always the agent's.
class ClipboardLink {
public:
    using Reply = std::function<void(void const* reply)>; ///< null when there was an error instead
    using Time = std::function<void(std::uint32_t time)>;

    /// Null when the server cannot be reached. display: empty for $DISPLAY.
    static std::unique_ptr<ClipboardLink> open(std::string const& display);
    ~ClipboardLink();
    ClipboardLink(ClipboardLink const&) = delete;
    ClipboardLink& operator=(ClipboardLink const&) = delete;

    xcb_connection_t* x() const { return connection->get(); }
    std::shared_ptr<X11Connection> const& server() const { return connection; }
    ClipboardAtoms const& atoms() const { return names; }
    std::uint32_t window() const { return ownWindow; }
    /// The event of a changed owner; 0 when the server does not tell.
    std::uint8_t ownerEvent() const { return changeEvent; }
    /// How many bytes of a text go through the server at once.
    std::uint32_t pieceSize() const { return piece; }

    /// Calls back with the reply to a question that was sent.
    void expect(unsigned sequence, Reply handler);
    /// Calls back with the server's time.
    void askTime(Time handler);
    /// Hands the replies that have come to those who expect them. False when there was none.
    bool takeReplies();
    /// A property of our window has changed.
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
