#include "platform/linux/wayland/input/KeymapText.h"

#include <utility>

namespace zelvo {

Task<bool> KeymapText::begin(std::string)
{
    InputSink* const door = switches.door();
    co_return door&& co_await door->type("");
}

Task<bool> KeymapText::type(std::string piece)
{
    InputSink* const door = switches.door();
    co_return door&& co_await door->type(std::move(piece));
}

} // namespace zelvo
