#include "ZelvoGateway/mcp/MessageSize.h"

namespace zelvo::service {

namespace {

constexpr std::size_t plainValue = 16; // A number, or the signs around a value.

} // namespace

std::size_t sizeOf(json::value const& value)
{
    std::size_t bytes = plainValue;
    if (json::string const* const text = value.if_string())
        bytes += text->size();
    if (json::array const* const list = value.if_array())
        for (json::value const& each : *list)
            bytes += sizeOf(each);
    if (json::object const* const object = value.if_object())
        for (auto const& [name, member] : *object)
            bytes += name.size() + sizeOf(member);
    return bytes;
}

} // namespace zelvo::service
