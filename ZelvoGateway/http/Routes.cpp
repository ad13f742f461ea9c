#include "ZelvoGateway/http/Routes.h"

#include "ZelvoGateway/http/HttpError.h"

#include <optional>

namespace zelvo::service {

namespace {

/// The segments that stand for "*"; nullopt if the path does not have the pattern's form.
std::optional<PathIds> match(std::vector<std::string_view> const& pattern,
                             std::vector<std::string> const& path)
{
    if (pattern.size() != path.size())
        return std::nullopt;
    PathIds ids;
    for (std::size_t i = 0; i < path.size(); ++i) {
        if (pattern[i] == "*" && !path[i].empty())
            ids.push_back(path[i]);
        else if (pattern[i] != path[i])
            return std::nullopt;
    }
    return ids;
}

} // namespace

void Routes::add(std::vector<Route> const& routes)
{
    all.insert(all.end(), routes.begin(), routes.end());
}

Admission Routes::admit(HttpRequest const& head) const
{
    if (access)
        access->assertOwnSite(head);
    std::string allowed;
    for (Route const& route : all) {
        auto ids = match(route.pattern, head.path);
        if (!ids)
            continue;
        if (route.method != head.method) {
            allowed += (allowed.empty() ? "" : ", ") + std::string(route.method);
            continue;
        }
        if (route.assertAccess)
            route.assertAccess(head);
        return {.route = &route,
                .ids = *std::move(ids),
                .isPlatform = route.assertAccess && access && access->isPlatform(head)};
    }
    if (!allowed.empty())
        throw HttpError{.status = 405,
                        .code = ErrorCode::invalidRequest,
                        .message = "This method is not allowed here; allowed: " + allowed};
    throw HttpError{.status = 404, .code = ErrorCode::notFound, .message = "There is nothing at this path"};
}

} // namespace zelvo::service
