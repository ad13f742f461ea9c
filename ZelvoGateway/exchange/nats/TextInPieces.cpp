#include "ZelvoGateway/exchange/nats/TextInPieces.h"

#include <algorithm>

namespace zelvo::service {

std::string_view OutgoingText::first()
{
    sent = std::min(text.size(), maxPiece);
    allowed = std::max<std::uint64_t>(allowed, sent);
    return std::string_view(text).substr(0, sent);
}

void OutgoingText::allow(std::uint64_t limit)
{
    allowed = std::max(allowed, std::min<std::uint64_t>(limit, text.size()));
}

std::optional<OutgoingText::Piece> OutgoingText::next()
{
    std::size_t const wanted = std::min(maxPiece, text.size() - sent);
    if (wanted == 0 || sent + wanted > allowed)
        return std::nullopt;
    Piece const piece{.at = sent, .text = std::string_view(text).substr(sent, wanted)};
    sent += wanted;
    return piece;
}

bool IncomingText::add(std::uint64_t at, std::string_view piece)
{
    if (at != text.size() || piece.size() > maxPiece || piece.size() > whole - text.size())
        return false;
    if (piece.empty() && whole > 0)
        return false;
    text += piece;
    return true;
}

std::optional<std::uint64_t> IncomingText::newLimit()
{
    std::uint64_t const next = std::min<std::uint64_t>(whole, text.size() + pieceWindow);
    // Once half of the window was used, so that the sender never has to wait.
    bool const isDue = next > limit && (limit == 0 || next == whole || next - limit >= pieceWindow / 2);
    if (isComplete() || !isDue)
        return std::nullopt;
    limit = next;
    return limit;
}

} // namespace zelvo::service
