#pragma once

#include "base/Clock.h"
#include "platform/linux/x11/clipboard/ClipboardBytes.h"

#include <cstdint>
#include <memory>
#include <optional>
#include <string_view>
#include <vector>

namespace zelvo {

class ClipboardLink;

/// The property that a program wants a text in.
struct ClipboardPlace {
    std::uint32_t window = 0;
    std::uint32_t property = 0;
    bool operator==(ClipboardPlace const&) const = default;
};

/// Long texts that are transferred to other programs in pieces (INCR): each piece waits until the requestor
/// has taken the one before. A transfer that makes no progress for 30 s, or whose window is destroyed, is
/// dropped. Thread: agent.
class ClipboardTransfers {
public:
    /// Further transfers are refused.
    static constexpr std::size_t maxTransfers = 64;
    /// Texts kept for transfers; a newer text drops the oldest.
    static constexpr std::size_t maxTexts = 4;

    ClipboardTransfers(ClipboardLink& link, Clock& clock) : link(link), clock(clock) {}

    /// Starts a transfer; replaces one to the same property. False if there are too many.
    /// bytes  a part of `text`, which is kept for the transfer
    bool begin(ClipboardPlace place,
               std::uint32_t type,
               std::shared_ptr<OfferedText const> text,
               std::string_view bytes);
    /// A property of another window changed: sends the next piece if the last one was taken.
    void noteProperty(void const* event);
    void noteGone(std::uint32_t window);
    /// Drops transfers whose time is over.
    void dropSilent();
    /// The next time limit; `nullopt` if there is no transfer.
    std::optional<Instant> nextEnd() const;
    std::size_t count() const { return open.size(); }

private:
    struct Transfer {
        ClipboardPlace place;
        std::uint32_t type;
        std::shared_ptr<OfferedText const> text;
        std::string_view left;
        Instant ends;
    };
    void makeRoomFor(std::shared_ptr<OfferedText const> const& text);
    template <class Condition>
    void drop(Condition isOver);
    void watch(std::uint32_t window, bool on);
    void forget(std::uint32_t window);
    /// True if that was the last piece.
    bool sendNext(Transfer& transfer);

    ClipboardLink& link;
    Clock& clock;
    std::vector<Transfer> open;
};

} // namespace zelvo
