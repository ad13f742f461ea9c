#include "app/AgentRuntime.h"

#include "base/Hop.h"
#include "base/LocalizedTexts.h"
#include "base/UnusedMemory.h"
#include "gateway/GatewayAddress.h"

#include <boost/url/parse.hpp>

namespace zelvo {

namespace {

constexpr std::string_view builtInConsole = "https://console.zelvo.invalid";

json::array textArray(std::vector<std::string> const& texts)
{
    json::array array;
    for (std::string const& text : texts)
        array.emplace_back(text);
    return array;
}

} // namespace

AgentRuntime::AgentRuntime(Services services) : services(std::move(services)) {}

void AgentRuntime::start()
{
    services.heartbeat.mode.set(HeartbeatBuilder::configuredMode(services.platform.defaults()));
    router = services.makeRouter();
    buildClient();
    services.state.onPauseChanged = [this](bool paused) { onPauseChanged(paused); };
    services.recording.start();
    watchNetwork();
    watchSession();
    watchSecrets();
    watchAccessibility();
    connectIfLinked();
}

void AgentRuntime::buildClient()
{
    auto onState = [this](GatewayConnectionState state) {
        asio::post(services.contexts.main,
                   [this, state = std::move(state)] { services.state.setGatewayState(state); });
    };
    GatewayClient::Services parts{
        .contexts = services.contexts,
        .clock = services.platform.clock(),
        .sockets = services.platform.sockets(),
        .heartbeat = [&heartbeat = services.heartbeat] { return heartbeat.current(); },
        .onState = onState,
        .jitter = services.jitter,
        .onRest = returnUnusedMemory,
    };
    client = GatewayClient::create(gatewayUrl(), services.heartbeat.appVersion(), std::move(parts));
}

void AgentRuntime::connectIfLinked()
{
    auto const mark = std::make_shared<int>();
    connecting = mark;
    spawn(services.contexts.main, [this, mark, asked = relinks]() -> Task<> {
        std::optional<std::string> token = co_await storedToken();
        if (asked != relinks)
            co_return;
        if (!token) {
            services.state.setGatewayState(
                GatewayConnectionState::of(GatewayConnectionState::Kind::notLinked));
            co_return;
        }
        if (!client || !router)
            co_return;
        GatewayClient::Handler handler = [this](RpcFrame frame) -> Task<std::optional<RpcReply>> {
            co_return co_await router->handle(std::move(frame));
        };
        co_await client->connect(*std::move(token), std::move(handler));
    });
}

Task<std::optional<std::string>> AgentRuntime::storedToken()
{
    std::optional<std::string> token;
    do {
        readAgain = false;
        token = co_await services.keychain.get(Keychain::Item::machineToken);
    } while (!token && readAgain && !services.isLinking());
    co_return token;
}

void AgentRuntime::reconnectNow()
{
    if (client)
        spawn(services.contexts.agent, [client = client] { return client->reconnectNow(); });
}

void AgentRuntime::relink()
{
    ++relinks;
    if (client)
        spawn(services.contexts.main, [client = client] { return client->stop(); });
    spawn(services.contexts.main, [this] { return services.keychain.remove(Keychain::Item::machineToken); });
    services.state.forgetConnections();
    services.state.setGatewayState(GatewayConnectionState::of(GatewayConnectionState::Kind::notLinked));
    spawn(services.contexts.workers, [this, url = consoleUrl()]() -> Task<> {
        services.platform.workspace().openUrl(url);
        co_return;
    });
}

void AgentRuntime::setAgentPaused(std::string ref, bool paused)
{
    sendEvent(paused ? "agent_pause" : "agent_resume", std::nullopt, json::object{{"ref", std::move(ref)}});
}

void AgentRuntime::sendQueueDecision(std::string connectionId, QueueDecision const& decision)
{
    json::object data{{"accepted", textArray(decision.accepted)}, {"declined", textArray(decision.declined)}};
    sendEvent("queued_commands_ack", std::move(connectionId), std::move(data));
}

void AgentRuntime::sendEvent(std::string name, std::optional<std::string> connectionId, json::object data)
{
    if (!client)
        return;
    spawn(services.contexts.main,
          [client = client, name = std::move(name), connectionId = std::move(connectionId),
           data = std::move(data)] { return client->sendEvent(name, connectionId, data); });
}

void AgentRuntime::onPauseChanged(bool paused)
{
    sendEvent(paused ? "paused" : "resumed", std::nullopt, json::object());
    updateSleepAssertion();
    if (!paused)
        return;
    services.recording.finish();
    // A button that an agent holds must not outlive its right to act.
    spawn(services.contexts.agent, [this] { return services.gate.releaseAll(); });
}

void AgentRuntime::updateSleepAssertion()
{
    std::unique_ptr<PowerAssertion> next;
    if (services.state.keepAwakeWhileWorking() && !services.state.isPaused())
        next = services.platform.power().preventIdleSleep(localized("power.agentWorking"));
    sleepAssertion = std::move(next);
}

void AgentRuntime::watchNetwork()
{
    auto onUpdate = [this, wasSatisfied = true](bool satisfied) mutable {
        if (satisfied && !wasSatisfied)
            asio::post(services.contexts.main, [this] {
                reconnectNow();
                services.recording.drain();
            });
        wasSatisfied = satisfied;
    };
    services.platform.network().start(GatewayAddress::host(gatewayUrl()), std::move(onUpdate));
}

void AgentRuntime::watchSession()
{
    services.platform.session().observe([this](SessionEvent event) {
        if (event == SessionEvent::didWake)
            reconnectNow();
    });
}

void AgentRuntime::watchAccessibility()
{
    Accessibility& accessibility = services.platform.accessibility();
    accessibility.observeUnreadable([this](std::int32_t pid) {
        spawn(services.contexts.main, [this, pid] { return logUnreadable(pid); });
    });
    spawn(services.contexts.agent, [&accessibility] { return accessibility.switchOn(); });
}

/// An application that started before this program asked for it publishes nothing.
Task<> AgentRuntime::logUnreadable(std::int32_t pid)
{
    auto const application = co_await on(services.contexts.workers,
                                         [&] { return services.platform.workspace().application(pid); });
    if (application)
        services.state.log({.platform = localized("activity.thisMac"),
                            .summary = localized("activity.unreadable", {application->localizedName}),
                            .kind = ActivityKind::mac});
}

void AgentRuntime::watchSecrets()
{
    services.platform.secrets().onBecameAvailable([this] {
        if (!connecting.expired()) // Reading the token may itself have brought the key ring up.
            readAgain = true;
        else if (services.state.gateway().kind == GatewayConnectionState::Kind::notLinked &&
                 !services.isLinking())
            connectIfLinked();
    });
}

std::string AgentRuntime::gatewayUrl() const
{
    return GatewayAddress::configuredGateway(services.platform.information());
}

std::string AgentRuntime::httpBase() const
{
    return GatewayAddress::defaultHttpBase(services.platform.information());
}

std::string AgentRuntime::consoleUrl() const
{
    std::optional<std::string> const configured = services.platform.information().text("ZelvoConsoleURL");
    if (configured) {
        auto const parsed = boost::urls::parse_uri_reference(*configured);
        if (parsed && parsed->has_scheme())
            return *configured;
    }
    return std::string(builtInConsole);
}

Task<> AgentRuntime::shutDown()
{
    services.platform.children().terminateAll();
    // An action that is still on its way would begin a recording that nobody closes.
    spawn(services.contexts.agent, [this] { return recording().finishNow(true); });
    if (client)
        co_await client->stop();
}

} // namespace zelvo
