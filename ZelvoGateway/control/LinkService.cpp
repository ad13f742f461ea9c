#include "ZelvoGateway/control/LinkService.h"

#include "ZelvoGateway/base/Failure.h"
#include "ZelvoGateway/base/Secrets.h"
#include "ZelvoGateway/base/Today.h"
#include "ZelvoGateway/base/Versions.h"
#include "base/DateText.h"

#include <algorithm>
#include <set>

namespace zelvo::service {

namespace {

constexpr std::size_t maxName = 256;

std::string requiredText(json::object const& request, std::string_view key)
{
    auto const text = read::text(request, key);
    if (!text)
        throw Failure{.code = ErrorCode::invalidRequest,
                      .message = "\"" + std::string(key) + "\" must be a text"};
    return *text;
}

bool contains(std::vector<AgentScope> const& scopes, AgentScope scope)
{
    return std::ranges::find(scopes, scope) != scopes.end();
}

/// Each once, in the order of the enumeration.
std::vector<AgentScope> inOrder(std::vector<AgentScope> const& scopes)
{
    std::set<AgentScope> const each(scopes.begin(), scopes.end());
    return {each.begin(), each.end()};
}

std::vector<AgentScope> grantedScopes(json::object const& request, StoredLinkSession const& session)
{
    json::value const* const value = request.if_contains("grantedScopes");
    auto const granted = value ? records::fromJson<std::vector<AgentScope>>(*value) : std::nullopt;
    if (!granted)
        throw Failure{.code = ErrorCode::invalidRequest,
                      .message = "\"grantedScopes\" must be a list of scopes"};
    for (AgentScope const scope : *granted)
        if (!contains(session.scopes, scope))
            throw Failure{.code = ErrorCode::invalidRequest,
                          .message = "The scope \"" + std::string(rawValue(scope)) + "\" was not asked for"};
    if (contains(session.scopes, AgentScope::screen) && !contains(*granted, AgentScope::screen))
        throw Failure{.code = ErrorCode::invalidRequest, .message = "A link needs the scope \"screen\""};
    return inOrder(*granted);
}

} // namespace

records::LinkSession LinkService::createSession(records::CreateLinkSessionRequest const& request)
{
    if (request.endUserId.empty() || request.endUserId.size() > maxName)
        throw Failure{.code = ErrorCode::invalidRequest, .message = "\"endUserId\" must have 1 to 256 bytes"};
    if (request.scopes.empty())
        throw Failure{.code = ErrorCode::invalidRequest,
                      .message = "\"scopes\" must name at least one scope"};
    store.forgetExpired(today());
    records::CreateLinkSessionRequest tidy = request;
    tidy.scopes = inOrder(request.scopes);
    std::string const code = newSecret();
    Date const expiresAt =
        today() + std::chrono::duration_cast<std::chrono::microseconds>(settings.linkLifetime);
    StoredLinkSession const session = store.addLinkSession(tidy, code, expiresAt);
    return {.code = code,
            .expiresAt = dates::iso8601(expiresAt),
            .id = session.id,
            .url = "zelvo://link?token=" + code};
}

StoredLinkSession LinkService::openSession(json::object const& request)
{
    auto const session = store.linkSessionOfCode(requiredText(request, "token"));
    if (!session)
        throw Failure{.code = ErrorCode::notFound, .message = "This link is not known"};
    if (session->used)
        throw Failure{.code = ErrorCode::linkSessionExpired, .message = "This link was used already"};
    if (session->expiresAt <= today())
        throw Failure{.code = ErrorCode::linkSessionExpired, .message = "This link has expired"};
    return *session;
}

MachineWithToken LinkService::machineFor(StoredLinkSession const& session, json::object const& request)
{
    if (auto const token = read::text(request, "machineToken"))
        if (auto const known = store.machineOfToken(*token))
            return {known->id, ""};
    // A second try of the same link takes the machine of the first, so that links cannot fill the store.
    if (session.machineId && store.connectionsOf(*session.machineId).empty())
        return {*session.machineId, store.replaceToken(*session.machineId)};
    return store.addMachine(AgentMode::connected, today());
}

json::object LinkService::resolve(json::object const& request)
{
    StoredLinkSession const session = openSession(request);
    if (isVersionBelow(read::text(request, "appVersion").value_or(""), settings.minimumAppVersion))
        throw Failure{.code = ErrorCode::appUpdateRequired,
                      .message = "A newer version of the app is needed"};
    MachineWithToken const machine = machineFor(session, request);
    store.setResolvedMachine(session.id, machine.machineId);
    json::object answer;
    answer["platform"] = json::object{{"name", settings.platformName}, {"isPersonal", settings.personal}};
    answer["requestedScopes"] = records::toJson(session.scopes);
    answer["machineId"] = machine.machineId;
    if (!machine.token.empty())
        answer["machineToken"] = machine.token;
    return answer;
}

json::object LinkService::complete(json::object const& request)
{
    StoredLinkSession const session = openSession(request);
    auto const machine = store.machineOfToken(requiredText(request, "machineToken"));
    if (!machine)
        throw Failure{.code = ErrorCode::unauthorized, .message = "The machine token is not known"};
    if (session.machineId != machine->id)
        throw Failure{.code = ErrorCode::forbidden, .message = "This link was opened by another machine"};
    StoredConnection const connection{.id = newId("con"),
                                      .machineId = machine->id,
                                      .endUserId = session.endUserId,
                                      .kind = machine->kind,
                                      .scopes = grantedScopes(request, session),
                                      .platformName = settings.platformName,
                                      .createdAt = dates::iso8601(today())};
    if (!store.finishLinkSession(session.id, connection))
        throw Failure{.code = ErrorCode::linkSessionExpired, .message = "This link was used already"};
    return {{"connectionId", connection.id}};
}

LinkService::Provisioned LinkService::provision(std::string const& endUserId)
{
    if (endUserId.empty() || endUserId.size() > maxName)
        throw Failure{.code = ErrorCode::invalidRequest, .message = "\"endUserId\" must have 1 to 256 bytes"};
    Provisioned made;
    made.machine = store.addMachine(AgentMode::cloud, today());
    StoredConnection const connection{.id = newId("con"),
                                      .machineId = made.machine.machineId,
                                      .endUserId = endUserId,
                                      .kind = AgentMode::cloud,
                                      .scopes = {allScopes.begin(), allScopes.end()},
                                      .platformName = settings.platformName,
                                      .createdAt = dates::iso8601(today())};
    store.addConnection(connection);
    made.connectionId = connection.id;
    return made;
}

} // namespace zelvo::service
