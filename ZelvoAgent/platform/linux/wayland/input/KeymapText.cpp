#include "platform/linux/wayland/input/KeymapText.h"

#include <algorithm>
#include <utility>

namespace zelvo {

Task<bool> KeymapText::begin(std::string)
{
    InputSink* const door = switches.door();
    co_return door&& co_await door->type("");
}

Task<bool> KeymapText::type(std::string piece)
{
    // Each line end may commit something, so the text may have to end before it.
    for (std::size_t start = 0; start < piece.size();) {
        std::size_t const end = std::min(piece.find('\n', start + 1), piece.size());
        if (!co_await typePart(piece.substr(start, end - start)))
            co_return false;
        start = end;
    }
    co_return true;
}

Task<bool> KeymapText::typePart(std::string part)
{
    if (!co_await switches.mayContinue())
        co_return false;
    InputSink* const door = switches.door();
    co_return door&& co_await door->type(std::move(part));
}

} // namespace zelvo
