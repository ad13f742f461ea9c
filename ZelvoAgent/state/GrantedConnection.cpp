#include "state/GrantedConnection.h"

#include "state/StoredList.h"

#include <algorithm>

namespace zelvo {

namespace {

std::optional<std::vector<AgentScope>> scopesFrom(json::array const& stored)
{
    std::vector<AgentScope> scopes;
    for (json::value const& text : stored) {
        auto const scope = text.is_string() ? fromRawValue<AgentScope>(text.get_string()) : std::nullopt;
        if (!scope)
            return std::nullopt;
        scopes.push_back(*scope);
    }
    return scopes;
}

} // namespace

bool GrantedConnection::holds(AgentScope scope) const
{
    return std::ranges::find(scopes, scope) != scopes.end();
}

json::object GrantedConnection::toJson() const
{
    json::array scopeTexts;
    for (AgentScope const scope : scopes)
        scopeTexts.emplace_back(rawValue(scope));
    json::object object{
        {"id", id}, {"platformName", platformName}, {"scopes", scopeTexts}, {"policy", policy.toJson()}};
    if (shareRecordings)
        object["shareRecordings"] = *shareRecordings;
    return object;
}

std::optional<GrantedConnection> GrantedConnection::fromJson(json::value const& stored)
{
    json::object const* const object = stored.if_object();
    if (!object)
        return std::nullopt;
    auto const id = read::text(*object, "id");
    auto const platformName = read::text(*object, "platformName");
    json::array const* const scopeTexts = read::array(*object, "scopes");
    json::value const* const policyValue = object->if_contains("policy");
    if (!id || !platformName || !scopeTexts || !policyValue)
        return std::nullopt;
    auto const scopes = scopesFrom(*scopeTexts);
    auto const policy = ConfirmationPolicy::fromJson(*policyValue);
    auto const share = stored::optionalTruth(*object, "shareRecordings");
    if (!scopes || !policy || !share)
        return std::nullopt;
    return GrantedConnection{*id, *platformName, *scopes, *policy, *share};
}

std::string encodeConnections(ConnectionMap const& connections)
{
    json::array list;
    for (auto const& [id, connection] : connections)
        list.emplace_back(connection.toJson());
    return writeJson(list);
}

std::optional<ConnectionMap> decodeConnections(std::string_view bytes)
{
    auto list = stored::decodeList<GrantedConnection>(bytes);
    if (!list)
        return std::nullopt;
    ConnectionMap connections;
    for (GrantedConnection& connection : *list) {
        std::string id = connection.id;
        connections.insert_or_assign(std::move(id), std::move(connection));
    }
    return connections;
}

} // namespace zelvo
