#include "platform/portable/net/PendingPings.h"

#include <charconv>
#include <iterator>
#include <utility>

namespace zelvo {

void PendingPings::add(OnPong onPong)
{
    waiting.push_back(std::move(onPong));
}

std::optional<std::string> PendingPings::nextToSend()
{
    if (firstUnsent >= firstWaiting + waiting.size())
        return std::nullopt;
    return std::to_string(firstUnsent++);
}

std::vector<PendingPings::OnPong> PendingPings::answeredBy(std::string_view pongPayload)
{
    std::uint64_t number = 0;
    auto const [end, error] =
        std::from_chars(pongPayload.data(), pongPayload.data() + pongPayload.size(), number);
    bool const isNumber = error == std::errc{} && end == pongPayload.data() + pongPayload.size();
    std::vector<OnPong> answered;
    if (!isNumber || number >= firstUnsent)
        return answered;
    while (firstWaiting <= number && !waiting.empty()) {
        answered.push_back(std::move(waiting.front()));
        waiting.pop_front();
        ++firstWaiting;
    }
    return answered;
}

std::vector<PendingPings::OnPong> PendingPings::takeAll()
{
    std::vector<OnPong> all(std::make_move_iterator(waiting.begin()), std::make_move_iterator(waiting.end()));
    firstWaiting += waiting.size();
    firstUnsent = firstWaiting;
    waiting.clear();
    return all;
}

} // namespace zelvo
