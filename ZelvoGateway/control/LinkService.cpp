#include "ZelvoGateway/control/LinkService.h"

#include "ZelvoGateway/base/Dates.h"
#include "ZelvoGateway/base/Failure.h"
#include "ZelvoGateway/base/Secrets.h"
#include "ZelvoGateway/control/RedirectUrl.h"
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

/// By its last heartbeat. Machines without a person report no connections.
bool hasEndedAtMachine(StoredMachine const& machine, StoredConnection const& connection)
{
    if (machine.kind != AgentMode::connected || !machine.heartbeat ||
        !machine.heartbeat->grantedConnectionIds)
        return false;
    auto const& granted = *machine.heartbeat->grantedConnectionIds;
    return std::ranges::find(granted, connection.id) == granted.end();
}

Failure notReached()
{
    return {.code = ErrorCode::forbidden, .message = "This API key does not reach that end user"};
}

} // namespace

records::LinkSessionState linkSessionRecord(StoredLinkSession const& session, Date now)
{
    using records::LinkSessionStatus;
    LinkSessionStatus status = LinkSessionStatus::open;
    if (session.used)
        status = LinkSessionStatus::completed;
    else if (session.expiresAt <= now)
        status = LinkSessionStatus::expired;
    return {.connectionId = session.connectionId,
            .createdAt = session.createdAt,
            .endUserId = session.endUserId,
            .expiresAt = dates::iso8601(session.expiresAt),
            .id = session.id,
            .redirectUrl = session.redirectUrl,
            .scopes = session.scopes,
            .status = status};
}

records::EndUser LinkService::addEndUser(Caller const& caller, records::CreateEndUserRequest const& request)
{
    if (request.externalId.empty() || request.externalId.size() > maxName)
        throw Failure{.code = ErrorCode::invalidRequest,
                      .message = "\"externalId\" must have 1 to 256 bytes"};
    if (request.name.value_or("").size() > maxName || request.email.value_or("").size() > maxName)
        throw Failure{.code = ErrorCode::invalidRequest,
                      .message = R"("name" and "email" must have at most 256 bytes)"};
    if (!caller.reach.coversEndUser(request.externalId) &&
        endUsers(caller, {.limit = 1, .externalId = request.externalId}).rows.empty())
        throw notReached();
    auto const known =
        store.endUserPage({.limit = 1, .externalId = request.externalId, .reach = {.all = true}}).rows;
    records::EndUser const user = store.addEndUser(request, today());
    if (known.empty() || known.front() != user)
        audit.add(caller, {.type = known.empty() ? "end_user.created" : "end_user.changed",
                           .endUserId = caller.reach.coversEndUser(user.id) ? user.id : user.externalId,
                           .details = {{"endUserId", user.id}}});
    return user;
}

Page<records::EndUser> LinkService::endUsers(Caller const& caller, PageQuery query)
{
    query.reach = caller.reach;
    return store.endUserPage(query);
}

records::EndUser LinkService::endUser(Caller const& caller, std::string const& id)
{
    auto user = store.endUser(id);
    if (!user || !(caller.reach.coversEndUser(user->id) || caller.reach.coversEndUser(user->externalId)))
        throw Failure{.code = ErrorCode::notFound, .message = "There is no such end user"};
    return *std::move(user);
}

records::LinkSession LinkService::createSession(Caller const& caller,
                                                records::CreateLinkSessionRequest const& request,
                                                std::string const& address)
{
    if (request.endUserId.empty() || request.endUserId.size() > maxName)
        throw Failure{.code = ErrorCode::invalidRequest, .message = "\"endUserId\" must have 1 to 256 bytes"};
    if (request.scopes.empty())
        throw Failure{.code = ErrorCode::invalidRequest,
                      .message = "\"scopes\" must name at least one scope"};
    if (request.redirectUrl && !isRedirectUrl(*request.redirectUrl))
        throw Failure{.code = ErrorCode::invalidRequest,
                      .message = "\"redirectUrl\" must begin with https://, or with http:// and a loopback "
                                 "address"};
    if (!caller.reach.coversEndUser(request.endUserId))
        throw notReached();
    store.forgetExpired(today());
    std::string const code = newSecret();
    StoredLinkSession wanted{.endUserId = request.endUserId,
                             .scopes = inOrder(request.scopes),
                             .expiresAt = today() + dateSpan(settings.linkLifetime),
                             .createdAt = dates::iso8601(today()),
                             .redirectUrl = request.redirectUrl};
    StoredLinkSession const session = store.addLinkSession(std::move(wanted), code);
    audit.add(
        caller,
        {.type = "link.created", .endUserId = session.endUserId, .details = {{"linkSessionId", session.id}}});
    return {.code = code,
            .expiresAt = dates::iso8601(session.expiresAt),
            .id = session.id,
            .url = address + "/link#" + code};
}

Page<StoredLinkSession> LinkService::sessions(Caller const& caller, PageQuery query)
{
    query.reach = caller.reach;
    return store.linkSessionPage(query);
}

StoredLinkSession LinkService::session(Caller const& caller, std::string const& id)
{
    auto session = store.linkSession(id);
    if (!session || !caller.reach.coversEndUser(session->endUserId))
        throw Failure{.code = ErrorCode::notFound, .message = "There is no such link session"};
    return *std::move(session);
}

StoredLinkSession LinkService::sessionOfCode(std::string const& code)
{
    auto session = store.linkSessionOfCode(code);
    if (!session)
        throw Failure{.code = ErrorCode::notFound, .message = "This link is not known"};
    return *std::move(session);
}

StoredLinkSession LinkService::openSession(std::string const& code)
{
    StoredLinkSession session = sessionOfCode(code);
    if (session.used)
        throw Failure{.code = ErrorCode::linkSessionExpired, .message = "This link was used already"};
    if (session.expiresAt <= today())
        throw Failure{.code = ErrorCode::linkSessionExpired, .message = "This link has expired"};
    return session;
}

/// Connections that the person removed at the machine do not count, even if nobody revoked them here.
void LinkService::assertNotOfOtherUser(std::string const& machineId, StoredLinkSession const& session)
{
    auto const machine = store.machine(machineId);
    for (StoredConnection const& connection : store.connectionsOf(machineId))
        if (!connection.revokedAt && connection.endUserId != session.endUserId &&
            !(machine && hasEndedAtMachine(*machine, connection)))
            throw Failure{.code = ErrorCode::machineAlreadyLinkedToOtherUser,
                          .message = "This computer is linked to another user of " + settings.platformName +
                                     ". Remove that connection first"};
}

MachineWithToken LinkService::machineFor(StoredLinkSession const& session,
                                         std::optional<std::string> const& machineToken)
{
    if (machineToken)
        if (auto const known = store.machineOfToken(*machineToken)) {
            assertNotOfOtherUser(known->id, session);
            return {known->id, ""};
        }
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
    assertNotOfOtherUser(machine->id, session);
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
    audit.addFrom(records::Actor::endUser,
                  AuditEntry::of(connection, "link.completed", {{"linkSessionId", session.id}}));
    return connection.id;
}

LinkService::Provisioned LinkService::provision(Caller const& caller, std::string const& endUserId)
{
    if (endUserId.empty() || endUserId.size() > maxName)
        throw Failure{.code = ErrorCode::invalidRequest, .message = "\"endUserId\" must have 1 to 256 bytes"};
    if (!caller.reach.coversEndUser(endUserId))
        throw notReached();
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
    audit.add(caller, AuditEntry::of(connection, "machine.provisioned"));
    made.connectionId = connection.id;
    return made;
}

} // namespace zelvo::service
