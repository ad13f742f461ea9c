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

/// Where a program wants a text put.
struct ClipboardPlace {
    std::uint32_t window = 0;
    std::uint32_t property = 0;
    bool operator==(ClipboardPlace const&) const = default;
};

/// The long texts that are on their way to other programs, a piece at a time: each piece waits until the one
/// before was taken. One that is not taken for 30 s, or whose window goes, is dropped. Thread: agent.
class ClipboardTransfers {
public:
    /// More at once are refused.
    static constexpr std::size_t maxTransfers = 64;
    /// So many texts are kept for those who still take them; for a newer one the oldest is dropped.
    static constexpr std::size_t maxTexts = 4;

    ClipboardTransfers(ClipboardLink& link, Clock& clock) : link(link), clock(clock) {}

    /// Begins one; it stands in the place of one to the same property. bytes: a part of `text`, which is kept
    /// as long as it takes. False when there are too many.
    bool begin(ClipboardPlace place,
               std::uint32_t type,
               std::shared_ptr<OfferedText const> text,
               std::string_view bytes);
    /// Somebody's window has changed: the next piece goes when the last one was taken.
    void noteProperty(void const* event);
    void noteGone(std::uint32_t window);
    /// Drops those whose time is over.
    void dropSilent();
    /// When the next one's time is over; nothing without any.
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
    /// True when it was the last piece.
    bool sendNext(Transfer& transfer);

    ClipboardLink& link;
    Clock& clock;
    std::vector<Transfer> open;
};

} // namespace zelvo
