#include "platform/portable/net/MessageAssembly.h"

#include <algorithm>
#include <utility>

namespace zelvo {

std::span<char> MessageAssembly::room(std::size_t announced)
{
    intoBlock = used == 0 || announced <= blockBytes;
    if (intoBlock)
        return block;
    // Reserving the announced size avoids copies, and untouched memory costs nothing.
    text.reserve(used + announced);
    text.resize(used + std::min(announced, stepBytes));
    return std::span(text).subspan(used);
}

void MessageAssembly::filled(std::size_t count)
{
    if (intoBlock)
        text.append(block.data(), count);
    used += count;
    text.resize(used);
}

std::string MessageAssembly::take()
{
    used = 0;
    return std::exchange(text, {});
}

} // namespace zelvo
