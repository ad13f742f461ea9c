#pragma once

#include "ZelvoGateway/base/Settings.h"

#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

namespace zelvo::service {

constexpr std::size_t maxPiece = 256_KiB;
constexpr std::size_t pieceWindow = 8 * maxPiece; ///< that may be on its way before the receiver takes more

/// A text on its way to another node, in pieces, as fast as the receiver takes them.
class OutgoingText {
public:
    explicit OutgoingText(std::string text) : text(std::move(text)) {}

    struct Piece {
        std::uint64_t at = 0;
        std::string_view text; ///< valid as long as the object
    };

    std::uint64_t size() const { return text.size(); }
    /// The first piece, which is sent without being asked for.
    std::string_view first();
    /// The receiver takes pieces up to `limit`. Smaller limits than before change nothing.
    void allow(std::uint64_t limit);
    /// The next piece that the receiver takes; `nullopt` if it has to ask for more first, or after the last.
    std::optional<Piece> next();
    bool isSent() const { return sent == text.size(); }

private:
    std::string text;
    std::size_t sent = 0;
    std::uint64_t allowed = 0;
};

/// A text that arrives from another node in pieces.
class IncomingText {
public:
    /// size  of the whole text, which the caller has bounded
    explicit IncomingText(std::uint64_t size) : whole(size) {}

    /// False if the piece does not belong here: the text cannot be completed then.
    bool add(std::uint64_t at, std::string_view piece);
    bool isComplete() const { return text.size() == whole; }
    /// How far the sender may go on, if it has to hear of it now.
    std::optional<std::uint64_t> newLimit();
    std::string take() { return std::move(text); }

private:
    std::uint64_t whole;
    std::string text;
    std::uint64_t limit = 0;
};

} // namespace zelvo::service
