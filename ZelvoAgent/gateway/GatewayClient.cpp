#include "gateway/GatewayClient.h"

#include "base/Hop.h"
#include "base/ResumeOnce.h"
#include "gateway/GatewayAddress.h"
#include "gateway/GatewayFailure.h"

#include <boost/asio/any_completion_handler.hpp>
#include <boost/asio/strand.hpp>
#include <boost/asio/this_coro.hpp>

#include <algorithm>
#include <random>

namespace zelvo {

namespace {

constexpr Duration heartbeatPeriod = 15s;
constexpr Duration firstPing = 5s;
constexpr Duration pingPeriod = 20s;
constexpr Duration pongTimeout = 15s;
constexpr Duration restTime = 60s;
constexpr int goingAway = 1001;
/// In bytes. Larger texts are parsed and serialised on the workers.
constexpr std::size_t largeText = 64UL * 1024;

using Kind = GatewayConnectionState::Kind;

/// A cheap estimate of the serialised size: only looks for one long string.
bool isLarge(json::value const& value)
{
    if (json::object const* const object = value.if_object())
        return std::ranges::any_of(*object, [](auto const& member) { return isLarge(member.value()); });
    if (json::array const* const array = value.if_array())
        return array->size() > 256;
    return value.is_string() && value.get_string().size() > largeText;
}

} // namespace

std::shared_ptr<GatewayClient>
GatewayClient::create(std::string gatewayUrl, std::string appVersion, Services services)
{
    return std::shared_ptr<GatewayClient>(
        new GatewayClient(std::move(gatewayUrl), std::move(appVersion), std::move(services)));
}

double GatewayClient::randomJitter()
{
    static thread_local std::mt19937 generator{std::random_device{}()};
    // The distribution excludes its upper bound; nextafter makes 1.3 possible.
    return std::uniform_real_distribution<double>(1.0, std::nextafter(1.3, 2.0))(generator);
}

GatewayClient::GatewayClient(std::string gatewayUrl, std::string appVersion, Services services)
    : gatewayUrl(std::move(gatewayUrl)), appVersion(std::move(appVersion)), services(std::move(services)),
      strand(asio::make_strand(this->services.contexts.agent))
{
}

Task<> GatewayClient::connect(std::string token, Handler frameHandler)
{
    co_await on(strand, [&, self = shared_from_this()] {
        machineToken = std::move(token);
        handler = std::move(frameHandler);
        stopped = false;
        reconnectAttempt = 0;
        openSocket();
    });
}

Task<> GatewayClient::stop()
{
    co_await on(strand, [this, self = shared_from_this()] {
        stopped = true;
        machineToken.reset();
        teardown();
        setState(GatewayConnectionState::of(Kind::notLinked));
    });
}

Task<> GatewayClient::reconnectNow()
{
    co_await on(strand, [this, self = shared_from_this()] {
        if (stopped || !machineToken || state.kind == Kind::tokenRejected ||
            state.kind == Kind::updateRequired)
            return;
        reconnectAttempt = 0;
        openSocket();
    });
}

Task<> GatewayClient::sendEvent(std::string name, std::optional<std::string> connectionId, json::object data)
{
    json::object event{{"event", std::move(name)}, {"data", std::move(data)}};
    if (connectionId)
        event["connectionId"] = *std::move(connectionId);
    auto body = [self = shared_from_this(), event]() -> Task<> { co_await self->send(event); };
    co_await runOn(strand, std::move(body));
}

Task<GatewayConnectionState> GatewayClient::currentState()
{
    co_return co_await on(strand, [this] { return state; });
}

void GatewayClient::setState(GatewayConnectionState next)
{
    state = std::move(next);
    if (services.onState)
        services.onState(state);
}

void GatewayClient::openSocket()
{
    if (!machineToken)
        return;
    teardown();
    std::int64_t const number = ++generation;
    WebSocketRequest request;
    request.url = GatewayAddress::appending(gatewayUrl, "machines/connect");
    request.headers = {{"Authorization", "Bearer " + *machineToken}, {"X-Zelvo-App-Version", appVersion}};
    task = services.sockets.open(std::move(request));
    setState(GatewayConnectionState::of(Kind::connecting));

    auto const self = shared_from_this();
    std::weak_ptr<GatewayClient> const weak = self;
    Clock* const clock = &services.clock;
    spawn(strand, [self, socket = task, number] { return self->receiveLoop(socket, number); });
    heartbeatTask = spawn(services.contexts.agent, [weak, clock] { return heartbeatLoop(weak, clock); });
    pingTask =
        spawn(services.contexts.agent, [weak, clock, number] { return pingLoop(weak, clock, number); });
}

void GatewayClient::teardown()
{
    for (TaskHandle* const handle : {&heartbeatTask, &pingTask, &reconnectTask}) {
        handle->cancel();
        *handle = {};
    }
    if (task)
        task->cancel(goingAway);
    task.reset();
}

Task<> GatewayClient::receiveLoop(SocketPtr socket, std::int64_t number)
{
    while (isCurrent(number)) {
        WebSocketMessage message;
        std::optional<NetworkFailure> failure;
        try {
            message = co_await socket->receive();
        } catch (NetworkFailure const& error) {
            failure = error;
        }
        if (!isCurrent(number))
            co_return;
        if (failure) {
            handleFailure(*socket, *failure, number);
            co_return;
        }
        markConnected(number); // Any message proves that the session lives, even one that is ignored below.
        noteWork();
        if (message.kind == WebSocketMessage::Kind::text)
            co_await handleText(std::move(message.payload));
        noteWork();
    }
}

/// A message of any kind: also one that is dropped took memory.
void GatewayClient::noteWork()
{
    lastWork = services.clock.now();
    if (services.onRest && !std::exchange(waitsForRest, true))
        spawn(services.contexts.agent,
              [weak = weak_from_this(), &clock = services.clock] { return restLoop(weak, &clock); });
}

Task<> GatewayClient::restLoop(std::weak_ptr<GatewayClient> weak, Clock* clock)
{
    Duration left = restTime;
    while (left > Duration::zero()) {
        co_await clock->sleep(left);
        auto const client = weak.lock();
        if (!client)
            co_return;
        auto const ask = [client] { return client->restLeft(); };
        left = co_await on(client->strand, ask);
        if (left <= Duration::zero())
            co_await on(client->services.contexts.workers, client->services.onRest);
    }
}

Duration GatewayClient::restLeft()
{
    Duration const left = restTime - (services.clock.now() - lastWork);
    waitsForRest = left > Duration::zero();
    return left;
}

Task<> GatewayClient::handleText(std::string text)
{
    std::optional<RpcFrame> frame;
    if (text.size() > largeText)
        frame = co_await on(services.contexts.workers, [&] { return takeFrame(std::exchange(text, {})); });
    else
        frame = parseFrame(text);
    if (!frame || !handler)
        co_return;
    Handler const present = handler; // connect() may replace the member while the handler runs.
    std::optional<RpcReply> reply = co_await present(*std::move(frame));
    if (reply)
        co_await send(std::move(reply->payload));
}

Task<> GatewayClient::send(json::object object)
{
    if (!task)
        co_return;
    std::string text = co_await serialised(std::move(object));
    SocketPtr const socket = task;
    std::int64_t const number = generation;
    if (!socket)
        co_return;
    bool sent = true;
    try {
        co_await socket->send(std::move(text));
    } catch (NetworkFailure const&) {
        sent = false;
    }
    if (sent)
        markConnected(number);
    else if (number == generation && task == socket)
        socket->cancel(); // Makes the receive loop fail, and that reconnects.
}

Task<std::string> GatewayClient::serialised(json::object object)
{
    if (isLarge(object))
        co_return co_await on(services.contexts.workers, [&] { return writeJson(object); });
    co_return writeJson(object);
}

void GatewayClient::markConnected(std::int64_t number)
{
    if (!isCurrent(number))
        return;
    reconnectAttempt = 0;
    if (!state.isConnected())
        setState(GatewayConnectionState::of(Kind::connected));
}

Task<> GatewayClient::heartbeatLoop(std::weak_ptr<GatewayClient> weak, Clock* clock)
{
    for (;;) {
        if (auto const client = weak.lock()) {
            std::optional<json::object> payload = co_await client->services.heartbeat();
            if (payload) {
                json::object const message{{"method", "heartbeat"}, {"params", *std::move(payload)}};
                auto body = [client, message]() -> Task<> { co_await client->send(message); };
                co_await runOn(client->strand, std::move(body));
            }
        }
        co_await clock->sleep(heartbeatPeriod);
    }
}

Task<> GatewayClient::pingLoop(std::weak_ptr<GatewayClient> weak, Clock* clock, std::int64_t number)
{
    Duration pause = firstPing;
    for (;;) {
        co_await clock->sleep(pause);
        auto const client = weak.lock();
        if (!client)
            co_return;
        auto body = [client, number]() -> Task<bool> {
            Pong const pong = co_await client->ping(number);
            if (pong == Pong::came)
                client->markConnected(number);
            if (pong == Pong::missed && number == client->generation && client->task)
                client->task->cancel();
            co_return pong != Pong::missed;
        };
        if (!co_await runOn(client->strand, std::move(body)))
            co_return;
        pause = pingPeriod;
    }
}

Task<GatewayClient::Pong> GatewayClient::ping(std::int64_t number)
{
    if (number != generation || !task)
        co_return Pong::missed;
    SocketPtr const socket = task;
    auto start = [this, socket](auto callersHandler) {
        using Resume = asio::any_completion_handler<void(bool)>;
        auto const resume = std::make_shared<Resume>(std::move(callersHandler));
        auto const once = std::make_shared<ResumeOnce>();
        auto const finish = [resume, once, home = strand](bool ok) {
            if (once->claim())
                asio::post(home, [resume, ok] { std::move (*resume)(ok); });
        };
        socket->sendPing(finish);
        spawn(services.contexts.agent, [&clock = services.clock, finish]() -> Task<> {
            co_await clock.sleep(pongTimeout);
            finish(false);
        });
    };
    bool const ok =
        co_await asio::async_initiate<decltype(asio::use_awaitable), void(bool)>(start, asio::use_awaitable);
    if (ok)
        co_return Pong::came;
    // While a full inbox blocks reading, the pong may wait in the socket.
    co_return socket->readingWasHeld() ? Pong::unknown : Pong::missed;
}

void GatewayClient::handleFailure(WebSocket const& socket, NetworkFailure const& error, std::int64_t number)
{
    GatewayFailure failure = GatewayFailure::classify(socket.httpStatus(), socket.closeCode(),
                                                      socket.closeReason(), GatewayFailure::describe(error));
    teardown();
    switch (failure.kind) {
    case GatewayFailure::Kind::tokenRejected:
        setState(GatewayConnectionState::of(Kind::tokenRejected));
        break;
    case GatewayFailure::Kind::updateRequired:
        setState(GatewayConnectionState::of(Kind::updateRequired));
        break;
    case GatewayFailure::Kind::transient:
        scheduleReconnect(std::move(failure.reason), number);
        break;
    }
}

void GatewayClient::scheduleReconnect(std::string reason, std::int64_t number)
{
    ++reconnectAttempt;
    std::chrono::duration<double> const seconds =
        GatewayFailure::retryDelay(reconnectAttempt) * services.jitter();
    auto const delay = std::chrono::duration_cast<std::chrono::microseconds>(seconds);
    setState(GatewayConnectionState::retrying(std::move(reason), services.clock.date() + delay));
    std::weak_ptr<GatewayClient> const weak = shared_from_this();
    reconnectTask = spawn(strand, [weak, number, delay, &clock = services.clock]() -> Task<> {
        co_await clock.sleep(delay);
        auto const client = weak.lock();
        if (client && client->isCurrent(number))
            client->openSocket();
    });
}

} // namespace zelvo
