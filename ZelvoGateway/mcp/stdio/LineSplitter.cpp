#include "ZelvoGateway/mcp/stdio/LineSplitter.h"

#include <utility>

namespace zelvo::service {

std::vector<LineSplitter::Line> LineSplitter::add(std::string_view bytes)
{
    std::vector<Line> lines;
    for (std::size_t end = bytes.find('\n'); end != std::string_view::npos; end = bytes.find('\n')) {
        append(bytes.substr(0, end));
        lines.push_back(take());
        bytes.remove_prefix(end + 1);
    }
    append(bytes);
    return lines;
}

std::optional<LineSplitter::Line> LineSplitter::rest()
{
    if (begun.empty() && !isTooLong)
        return std::nullopt;
    return take();
}

void LineSplitter::append(std::string_view bytes)
{
    // One more for a "\r" that belongs to the end.
    isTooLong |= begun.size() + bytes.size() > maxLine + 1;
    if (isTooLong)
        begun = std::string();
    else
        begun += bytes;
}

LineSplitter::Line LineSplitter::take()
{
    Line line{.text = std::exchange(begun, std::string()), .isTooLong = std::exchange(isTooLong, false)};
    if (line.text.ends_with('\r'))
        line.text.pop_back();
    if (line.text.size() > maxLine)
        line = {.text = {}, .isTooLong = true};
    return line;
}

} // namespace zelvo::service
