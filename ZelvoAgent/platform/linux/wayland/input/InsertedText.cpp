#include "platform/linux/wayland/input/InsertedText.h"

#include <utility>

namespace zelvo {

Task<bool> InsertedText::begin(std::string text)
{
    // A line end is often a command: it sends a message or opens a page, which inserted text does not.
    if (text.find_first_of("\n\r\t") != std::string::npos)
        co_return false;
    auto const place = co_await insertion.begin();
    co_return place && place->isEditable && place->isReadable;
}

Task<bool> InsertedText::type(std::string piece)
{
    co_return co_await insertion.insert(std::move(piece));
}

} // namespace zelvo
