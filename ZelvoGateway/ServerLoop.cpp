#include "ZelvoGateway/AddressFiles.h"
#include "ZelvoGateway/ServerParts.h"
#include "ZelvoGateway/base/Log.h"

#include <boost/asio/post.hpp>
#include <boost/asio/steady_timer.hpp>
#include <boost/asio/use_awaitable.hpp>

namespace zelvo::service {

namespace {

constexpr auto patienceInHaste = std::chrono::seconds(1);
constexpr Duration loopPeriod = 1s; // Between two measurements of the loop.

} // namespace

void Server::Parts::run(ServingWatch watch)
{
    http.start();
    if (metricsServer)
        metricsServer->start();
    // Spawned from inside the loop, where it starts at once. A task that is cancelled before it starts would
    // throw out of run().
    asio::post(io, [this, watch = std::move(watch)] {
        if (!http.isStopping())
            beginServing(watch);
    });
    while (!http.isStopping() && io.run_one() > 0) {
    }
    io.run_for(patience); // Until the last connection has ended.
}

void Server::Parts::beginServing(ServingWatch const& watch)
{
    maintenance = spawn(io.get_executor(), [this] { return runMaintenance(); });
    webhookDispatcher.begin();
    revocations = keys.observeRevocations([this](std::string const& keyId) {
        mcp.endKey(keyId);
        if (keyId == ApiKey::id)
            sessions.endAll();
    });
    if (metricsServer)
        measuringLoop = spawn(io.get_executor(), [this] { return measureLoop(); });
    if (watch.begins)
        watch.begins();
    if (watch.beats && watch.period > Duration::zero())
        beating = spawn(io.get_executor(), [this, watch] { return beat(watch); });
}

/// By real time: it says whether this process runs, which no other clock knows.
Task<> Server::Parts::beat(ServingWatch watch)
{
    asio::steady_timer timer(io);
    for (;;) {
        watch.beats();
        timer.expires_after(watch.period);
        co_await timer.async_wait(asio::use_awaitable);
    }
}

/// By real time, like the loop itself.
Task<> Server::Parts::measureLoop()
{
    asio::steady_timer timer(io);
    for (;;) {
        timer.expires_after(loopPeriod);
        co_await timer.async_wait(asio::use_awaitable);
        metrics.loopWasLate(std::chrono::steady_clock::now() - timer.expiry());
    }
}

void Server::Parts::stop()
{
    asio::post(io, [this] { finishWork(); });
}

void Server::Parts::stopNow()
{
    asio::post(io, [this] {
        patience = patienceInHaste;
        stopHere(HttpServer::Answers::dropped);
    });
}

/// Takes no more work, and stops when what is open has ended.
void Server::Parts::finishWork()
{
    if (isStopping())
        return;
    removeAddresses(folder); // Before the port is free for others.
    http.stopAccepting();
    work.close([this] { asio::post(io, [this] { stopHere(HttpServer::Answers::sent); }); });
    mcp.endListeners();
    stopLimit = spawn(io.get_executor(), [this] { return limitStop(); });
}

Task<> Server::Parts::limitStop()
{
    co_await clock.sleep(settings.stopTimeout);
    Log::warning("stops in spite of open requests or commands (" + std::to_string(work.open()) + ")");
    stopHere(HttpServer::Answers::sent);
}

void Server::Parts::stopHere(HttpServer::Answers answers)
{
    if (http.isStopping())
        return;
    removeAddresses(folder);
    stopLimit.cancel();
    work.close([] {}); // Nobody waits for the end of the work any more.
    mcp.stop();
    online.stop();
    machines.closeAll();
    control.stop();
    webhookDispatcher.stop();
    keys.stop();
    audit.stop();
    maintenance.cancel();
    beating.cancel();
    measuringLoop.cancel();
    if (metricsServer)
        metricsServer->stop();
    ownClock.rest();
    http.stop(answers);
}

} // namespace zelvo::service
