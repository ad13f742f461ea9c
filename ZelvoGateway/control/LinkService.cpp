#include "ZelvoGateway/control/LinkService.h"

#include "ZelvoGateway/base/Dates.h"
#include "ZelvoGateway/base/Failure.h"
#include "ZelvoGateway/base/Secrets.h"
#include "base/DateText.h"
#include "base/Versions.h"

#include <algorithm>
#include <set>

namespace zelvo::service {

namespace {

constexpr std::size_t maxName = 256;

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

void assertGrantable(std::vector<AgentScope> const& granted, StoredLinkSession const& session)
{
    for (AgentScope const scope : granted)
        if (!contains(session.scopes, scope))
            throw Failure{.code = ErrorCode::invalidRequest,
                          .message = "The scope \"" + std::string(rawValue(scope)) + "\" was not asked for"};
    if (contains(session.scopes, AgentScope::screen) && !contains(granted, AgentScope::screen))
        throw Failure{.code = ErrorCode::invalidRequest, .message = "A link needs the scope \"screen\""};
}

} // namespace

records::EndUser LinkService::addEndUser(records::CreateEndUserRequest const& request)
{
    if (request.externalId.empty())
        throw Failure{.code = ErrorCode::invalidRequest, .message = "\"externalId\" must not be empty"};
    return store.addEndUser(request, today());
}

records::LinkSession LinkService::createSession(records::CreateLinkSessionRequest const& request)
{
    if (request.endUserId.empty() || request.endUserId.size() > maxName)
        throw Failure{.code = ErrorCode::invalidRequest, .message = "\"endUserId\" must have 1 to 256 bytes"};
    if (request.scopes.empty())
        throw Failure{.code = ErrorCode::invalidRequest,
                      .message = "\"scopes\" must name at least one scope"};
    store.forgetExpired(today());
    std::string const code = newSecret();
    Date const expiresAt = today() + dateSpan(settings.linkLifetime);
    StoredLinkSession const session =
        store.addLinkSession(request.endUserId, inOrder(request.scopes), code, expiresAt);
    return {.code = code,
            .expiresAt = dates::iso8601(expiresAt),
            .id = session.id,
            .url = "zelvo://link?token=" + code};
}

StoredLinkSession LinkService::openSession(std::string const& code)
{
    auto const session = store.linkSessionOfCode(code);
    if (!session)
        throw Failure{.code = ErrorCode::notFound, .message = "This link is not known"};
    if (session->used)
        throw Failure{.code = ErrorCode::linkSessionExpired, .message = "This link was used already"};
    if (session->expiresAt <= today())
        throw Failure{.code = ErrorCode::linkSessionExpired, .message = "This link has expired"};
    return *session;
}

MachineWithToken LinkService::machineFor(StoredLinkSession const& session,
                                         std::optional<std::string> const& machineToken)
{
    if (machineToken)
        if (auto const known = store.machineOfToken(*machineToken))
            return {known->id, ""};
    // Resolving a link again reuses its machine, so that one link can't fill the store with machines.
    if (session.machineId && store.connectionsOf(*session.machineId).empty())
        return {*session.machineId, store.replaceToken(*session.machineId)};
    return store.addMachine(AgentMode::connected, today());
}

LinkOffer LinkService::resolve(LinkResolution const& resolution)
{
    StoredLinkSession const session = openSession(resolution.code);
    if (isVersionBelow(resolution.appVersion, settings.minimumAppVersion))
        throw Failure{.code = ErrorCode::appUpdateRequired,
                      .message = "A newer version of the app is needed"};
    MachineWithToken machine = machineFor(session, resolution.machineToken);
    store.setResolvedMachine(session.id, machine.machineId);
    return {.scopes = session.scopes, .machine = std::move(machine)};
}

std::string LinkService::complete(LinkCompletion const& completion)
{
    StoredLinkSession const session = openSession(completion.code);
    auto const machine = store.machineOfToken(completion.machineToken);
    if (!machine)
        throw Failure{.code = ErrorCode::unauthorized, .message = "The machine token is not known"};
    if (session.machineId != machine->id)
        throw Failure{.code = ErrorCode::forbidden, .message = "This link was opened by another machine"};
    assertGrantable(completion.grantedScopes, session);
    StoredConnection const connection{.id = newId("con"),
                                      .machineId = machine->id,
                                      .endUserId = session.endUserId,
                                      .kind = machine->kind,
                                      .scopes = inOrder(completion.grantedScopes),
                                      .platformName = settings.platformName,
                                      .createdAt = dates::iso8601(today())};
    if (!store.finishLinkSession(session.id, connection))
        throw Failure{.code = ErrorCode::linkSessionExpired, .message = "This link was used already"};
    return connection.id;
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
