#include "ZelvoGateway/mcp/transport/McpTarget.h"

#include "ZelvoGateway/http/HttpError.h"
#include "base/Text.h"

#include <charconv>

namespace zelvo::service {

namespace {

constexpr std::size_t maxShown = 40; // characters

int widthIn(std::string const& text)
{
    int width = 0;
    auto const read = std::from_chars(text.data(), text.data() + text.size(), width);
    if (read.ec != std::errc() || read.ptr != text.data() + text.size() || width < McpAddress::minWidth ||
        width > McpAddress::maxWidth)
        throw badRequest("\"width\" must be a number from " + std::to_string(McpAddress::minWidth) + " to " +
                         std::to_string(McpAddress::maxWidth));
    return width;
}

} // namespace

McpAddress mcpAddressOf(HttpRequest const& request)
{
    McpAddress address;
    if (request.path.size() > 1)
        address.connection = request.path[1];
    for (auto const& [name, value] : request.query) {
        if (request.query.count(name) > 1)
            throw badRequest("\"" + text::shownInLine(name, maxShown) + "\" is in the address twice");
        if (name == "width")
            address.width = widthIn(value);
        else if (name == "tools" && value == "computer")
            address.hasComputerTool = true;
        else if (name == "tools")
            throw badRequest(R"("tools" can only be "computer")");
        else
            throw badRequest("Unknown switch \"" + text::shownInLine(name, maxShown) +
                             R"(" in the address; there are "width" and "tools")");
    }
    return address;
}

} // namespace zelvo::service
