#include "platform/portable/video/SequenceHeader.h"

#include <cstddef>

namespace zelvo {

namespace {

constexpr int sequenceParameters = 7;

bool startsUnit(std::span<std::uint8_t const> head, std::size_t at)
{
    return head[at] == 0 && head[at + 1] == 0 && head[at + 2] == 1;
}

} // namespace

std::optional<int> profileOf(std::span<std::uint8_t const> head)
{
    if (head.size() > 3 && head[0] == 1)
        return head[1];
    for (std::size_t at = 0; at + 4 < head.size(); ++at)
        if (startsUnit(head, at) && (head[at + 3] & 0x1f) == sequenceParameters)
            return head[at + 4];
    return std::nullopt;
}

} // namespace zelvo
