#include "ZelvoGateway/console/KeyBody.h"

#include "ZelvoGateway/http/HttpError.h"

namespace zelvo::service {

namespace {

std::set<std::string, std::less<>> textsIn(json::object const& body, std::string_view key)
{
    std::set<std::string, std::less<>> texts;
    json::value const* const value = body.if_contains(key);
    if (!value)
        return texts;
    json::array const* const list = value->if_array();
    if (!list || list->empty())
        throw badRequest("\"" + std::string(key) + "\" must be a list that is not empty");
    for (json::value const& one : *list) {
        if (!one.is_string())
            throw badRequest("\"" + std::string(key) + "\" must hold texts");
        texts.emplace(one.get_string());
    }
    return texts;
}

} // namespace

KeyRequest keyRequestIn(json::object const& body)
{
    for (auto const& member : body)
        if (member.key() != "name" && member.key() != "connections" && member.key() != "endUsers")
            throw badRequest(R"(Only "name", "connections" and "endUsers" are known here)");
    auto const name = read::text(body, "name");
    if (!name)
        throw badRequest("\"name\" must be a text");
    return {.name = *name,
            .reach = {.connections = textsIn(body, "connections"), .endUsers = textsIn(body, "endUsers")}};
}

} // namespace zelvo::service
