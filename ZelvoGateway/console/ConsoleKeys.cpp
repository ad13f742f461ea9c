#include "ZelvoGateway/console/ConsoleKeys.h"

#include "ZelvoGateway/console/KeyBody.h"
#include "base/DateText.h"

namespace zelvo::service {

namespace {

json::object recordOf(StoredKey const& key)
{
    json::object object{{"id", key.id},
                        {"name", key.name},
                        {"prefix", key.prefix},
                        {"builtIn", key.id == ApiKey::id},
                        {"createdAt", dates::iso8601(key.createdAt)}};
    if (!key.reach.connections.empty())
        object["connections"] = json::array(key.reach.connections.begin(), key.reach.connections.end());
    if (!key.reach.endUsers.empty())
        object["endUsers"] = json::array(key.reach.endUsers.begin(), key.reach.endUsers.end());
    if (key.lastUsedAt)
        object["lastUsedAt"] = dates::iso8601(*key.lastUsedAt);
    if (key.revokedAt)
        object["revokedAt"] = dates::iso8601(*key.revokedAt);
    return object;
}

} // namespace

HttpResponse ConsoleKeys::list()
{
    json::array all;
    for (StoredKey const& key : keys.keys())
        all.push_back(recordOf(key));
    return jsonResponse(200, json::object{{"keys", std::move(all)}});
}

HttpResponse ConsoleKeys::add(HttpRequest const& request)
{
    NewKey const made = keys.add(keyRequestIn(objectOf(request.body)));
    return jsonResponse(201, json::object{{"key", recordOf(made.stored)}, {"text", made.text}});
}

HttpResponse ConsoleKeys::revoke(std::string const& id)
{
    return jsonResponse(200, json::object{{"key", recordOf(keys.revoke(id))}});
}

} // namespace zelvo::service
