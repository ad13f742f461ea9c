#include "gateway/LinkCoordinator.h"

#include "base/LocalizedTexts.h"
#include "gateway/GatewayAddress.h"

#include <algorithm>

namespace zelvo {

namespace {

constexpr char const* resolveEndpoint = "machines/link/resolve";
constexpr char const* completeEndpoint = "machines/link/complete";
constexpr int ok = 200;

} // namespace

LinkCoordinator::LinkCoordinator(Services services) : services(std::move(services)) {}

void LinkCoordinator::begin(std::string token)
{
    pending = token;
    spawn(services.main, [this, token = std::move(token)] { return resolve(token); });
}

Task<> LinkCoordinator::resolve(std::string token)
{
    setBusy(true);
    std::optional<std::string> const stored = co_await services.keychain.get(Keychain::Item::machineToken);
    json::object body{{"token", token},
                      {"appVersion", services.machine.appVersion()},
                      {"macosVersion", services.machine.macosVersion()}};
    if (stored)
        body["machineToken"] = *stored;
    std::optional<json::object> answer = co_await call(resolveEndpoint, std::move(body));
    if (answer)
        co_await takeOffer(*std::move(answer), std::move(token));
}

Task<> LinkCoordinator::takeOffer(json::object answer, std::string token)
{
    LinkOffer offer = LinkOffer::from(answer, std::move(token));
    std::optional<std::string> const given = read::text(answer, "machineToken");
    std::optional<std::int32_t> refused;
    if (given) {
        offer.machineToken = *given;
        // Stored before the person decides: without a stored token the link could not connect.
        try {
            co_await services.keychain.set(*given, Keychain::Item::machineToken);
        } catch (SecretStoreFailure const& failure) {
            refused = failure.status;
        }
    } else {
        // Read again: the person may have removed the link in the meantime.
        std::optional<std::string> const kept = co_await services.keychain.get(Keychain::Item::machineToken);
        offer.machineToken = kept.value_or("");
    }
    if (refused) {
        fail(
            unreachableMessage(resolveEndpoint, localized("link.reason.keychain", {std::int64_t{*refused}})));
        co_return;
    }
    present(std::move(offer));
    setBusy(false);
}

void LinkCoordinator::present(LinkOffer offer)
{
    if (!shown || shown->token != offer.token)
        ticked = ConsentDefaults::initialSelection(offer.requestedScopes);
    shown = std::move(offer);
    lastError.reset();
    changed();
}

void LinkCoordinator::setGranted(AgentScope scope, bool on)
{
    if (!shown || std::ranges::find(shown->requestedScopes, scope) == shown->requestedScopes.end())
        return;
    if (on)
        ticked.insert(scope);
    else if (scope != AgentScope::screen)
        ticked.erase(scope);
    changed();
}

Task<> LinkCoordinator::complete(std::vector<AgentScope> grantedScopes)
{
    if (!shown)
        co_return;
    LinkOffer const offer = *shown;
    setBusy(true);
    json::array scopeTexts;
    for (AgentScope const scope : grantedScopes)
        scopeTexts.emplace_back(rawValue(scope));
    json::object body{{"token", offer.token},
                      {"machineToken", offer.machineToken},
                      {"grantedScopes", std::move(scopeTexts)}};
    std::optional<json::object> const answer = co_await call(completeEndpoint, std::move(body));
    if (!answer)
        co_return;
    std::optional<std::string> const connectionId = read::text(*answer, "connectionId");
    if (!connectionId) {
        fail(messageFrom(writeJson(*answer)));
        co_return;
    }
    GrantedConnection connection;
    connection.id = *connectionId;
    connection.platformName = offer.platformName;
    connection.scopes = std::move(grantedScopes);
    services.state.grant(std::move(connection));
    cancel();
    services.connectIfLinked();
    setBusy(false);
}

void LinkCoordinator::cancel()
{
    shown.reset();
    ticked.clear();
    pending.reset();
    changed();
}

Task<std::optional<json::object>> LinkCoordinator::call(std::string endpoint, json::object body)
{
    HttpRequest request;
    request.url = GatewayAddress::appending(services.httpBase, endpoint);
    request.method = "POST";
    request.headers = {{"Content-Type", "application/json"}};
    request.body = writeJson(body);
    HttpResponse response;
    std::optional<NetworkFailure> failure;
    try {
        response = co_await services.http.load(std::move(request));
    } catch (NetworkFailure const& error) {
        failure = error;
    }
    if (failure) {
        fail(transportMessage(*failure, endpoint));
        co_return std::nullopt;
    }
    std::optional<json::value> parsed = parseJson(response.body);
    if (response.status == ok && !parsed) {
        fail(unreachableMessage(endpoint, localized("link.reason.unreadable")));
        co_return std::nullopt;
    }
    if (response.status != ok || !parsed->is_object()) {
        fail(messageFrom(response.body));
        co_return std::nullopt;
    }
    co_return std::move(parsed->get_object());
}

void LinkCoordinator::setBusy(bool value)
{
    busy = value;
    changed();
}

void LinkCoordinator::fail(std::string message)
{
    lastError = std::move(message);
    setBusy(false);
}

std::string LinkCoordinator::messageFrom(std::string const& body) const
{
    std::optional<json::value> const parsed = parseJson(body);
    json::object const* const object = parsed ? parsed->if_object() : nullptr;
    json::object const* const failure = object ? read::object(*object, "error") : nullptr;
    std::optional<std::string> const text = failure ? read::text(*failure, "message") : std::nullopt;
    return text ? *text : localized("link.error.generic");
}

std::string LinkCoordinator::transportMessage(NetworkFailure const& failure,
                                              std::string const& endpoint) const
{
    std::string reason;
    switch (failure.kind) {
    case NetworkFailure::Kind::hostNotFound:
    case NetworkFailure::Kind::unreachable:
        reason = localized("link.reason.noServer");
        break;
    case NetworkFailure::Kind::offline:
    case NetworkFailure::Kind::lost:
        reason = localized("link.reason.offline");
        break;
    case NetworkFailure::Kind::timedOut:
        reason = localized("link.reason.timeout");
        break;
    case NetworkFailure::Kind::tls:
        reason = localized("link.reason.tls");
        break;
    case NetworkFailure::Kind::cancelled:
    case NetworkFailure::Kind::other:
        reason = failure.description;
        break;
    }
    return localized("link.error.transport",
                     {reason, GatewayAddress::appending(services.httpBase, endpoint)});
}

std::string LinkCoordinator::unreachableMessage(std::string const& endpoint, std::string const& reason) const
{
    return localized("link.error.unreachable",
                     {GatewayAddress::appending(services.httpBase, endpoint), reason});
}

} // namespace zelvo
