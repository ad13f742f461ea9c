#include "ZelvoGateway/store/Page.h"

#include "base/DateText.h"

namespace zelvo::service {

namespace {

constexpr char separator = '~';
constexpr std::size_t maxId = 64;

} // namespace

std::string textOf(PageCursor const& cursor)
{
    return cursor.createdAt + separator + cursor.id;
}

std::optional<PageCursor> pageCursorFrom(std::string_view text)
{
    std::size_t const at = text.find(separator);
    if (at == std::string_view::npos)
        return std::nullopt;
    PageCursor cursor{.createdAt = std::string(text.substr(0, at)), .id = std::string(text.substr(at + 1))};
    bool const usable = (cursor.createdAt.empty() || dates::parseIso8601(cursor.createdAt)) &&
                        !cursor.id.empty() && cursor.id.size() <= maxId;
    return usable ? std::optional(std::move(cursor)) : std::nullopt;
}

} // namespace zelvo::service
