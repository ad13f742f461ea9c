#include "ZelvoGateway/api/Lists.h"

#include "ZelvoGateway/http/HttpError.h"

#include <charconv>

namespace zelvo::service {

namespace {

std::optional<std::string> itemIn(HttpRequest const& request, std::string const& name)
{
    return request.query.contains(name) ? std::optional(request.queryItem(name)) : std::nullopt;
}

} // namespace

std::size_t limitIn(HttpRequest const& request, std::size_t usual)
{
    auto const text = itemIn(request, "limit");
    if (!text)
        return usual;
    std::size_t limit = 0;
    char const* const end = text->data() + text->size();
    auto const read = std::from_chars(text->data(), end, limit);
    if (read.ec != std::errc() || read.ptr != end || limit < 1 || limit > maxListed)
        throw badRequest("\"limit\" must be from 1 to " + std::to_string(maxListed));
    return limit;
}

PageQuery pageQueryIn(HttpRequest const& request)
{
    PageQuery query{.limit = limitIn(request),
                    .endUserId = itemIn(request, "endUserId"),
                    .machineId = itemIn(request, "machineId"),
                    .externalId = itemIn(request, "externalId"),
                    .connectionId = itemIn(request, "connectionId")};
    if (auto const before = itemIn(request, "before")) {
        query.before = pageCursorFrom(*before);
        if (!query.before)
            throw badRequest(R"("before" must be the "nextBefore" of an earlier page)");
    }
    return query;
}

} // namespace zelvo::service
