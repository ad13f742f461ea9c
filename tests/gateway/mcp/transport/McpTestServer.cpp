#include "gateway/mcp/transport/McpTestServer.h"

#include "ZelvoGateway/base/ServerClock.h"
#include "ZelvoGateway/http/HttpServer.h"
#include "ZelvoGateway/mcp/transport/McpEndpoint.h"
#include "gateway/support/FakeKeyRing.h"

#include <boost/asio/executor_work_guard.hpp>
#include <boost/asio/post.hpp>
#include <boost/asio/thread_pool.hpp>

#include <future>
#include <thread>

namespace zelvo::service {

struct McpTestServer::Parts {
    Parts(McpHost& host, McpTestOptions wanted)
        : options(wanted), memory(options.memory, options.memory),
          clock(options.clock ? *options.clock : ownClock),
          endpoint({.callerOf = [this](HttpRequest const& head) { return callerOf(head); },
                    .host = host,
                    .rules = options.rules,
                    .clock = clock,
                    .memory = memory,
                    .work = work,
                    .executor = io.get_executor(),
                    .workers = workers.get_executor()}),
          http(io,
               {.limits = limits,
                .routes = routes,
                .proxies = proxies,
                .memory = memory,
                .work = work,
                .workers = workers.get_executor()})
    {
        for (std::string const key : {"key-a", "key-b"})
            keys.callers[key] = {.keyId = key, .name = key, .reach = {.all = true}};
        routes.add(endpoint.routes());
        http.listen("127.0.0.1", options.port);
    }

    Caller callerOf(HttpRequest const& head) const
    {
        return options.needsKey ? access.callerOf(head) : Caller{.keyId = "tester"};
    }

    void run()
    {
        http.start();
        while (!http.isStopping() && io.run_one() > 0) {
        }
        io.run_for(std::chrono::seconds(5));
    }

    McpTestOptions options;
    Limits limits;
    MemoryBudget memory;
    OpenWork work;
    bool isWorkDone = false;
    TrustedProxies proxies{{}};
    asio::io_context io{1};
    asio::thread_pool workers{2};
    ServerClock ownClock{io.get_executor()};
    Clock& clock;
    FakeKeyRing keys;
    std::string publicUrl;
    ConsoleTimes times;
    ConsoleSessions sessions{clock, times};
    AttemptRules attempts;
    AttemptLimiter wrongKeys{clock, attempts};
    AccessControl access{keys, publicUrl, sessions, wrongKeys};
    McpEndpoint endpoint;
    Routes routes{access};
    HttpServer http;
    std::thread thread;
};

McpTestServer::McpTestServer(McpHost& host, McpTestOptions options)
    : parts(std::make_unique<Parts>(host, options))
{
    parts->thread = std::thread([this] { parts->run(); });
}

McpTestServer::~McpTestServer()
{
    asio::post(parts->io, [this] {
        parts->endpoint.stop();
        parts->ownClock.rest();
        parts->http.stop();
    });
    parts->thread.join();
    parts->workers.join();
    parts->clock.dropSleepers();
}

std::uint16_t McpTestServer::port() const
{
    return parts->http.port();
}

void McpTestServer::onThread(std::function<void()> work)
{
    std::promise<void> done;
    asio::post(parts->io, [&] {
        work();
        done.set_value();
    });
    done.get_future().get();
}

void McpTestServer::endKey(std::string const& key)
{
    onThread([&] { parts->endpoint.endKey(key); });
}

void McpTestServer::closeWork()
{
    onThread([&] {
        parts->work.close([this] { parts->isWorkDone = true; });
        parts->endpoint.endListeners();
    });
}

bool McpTestServer::isWorkDone()
{
    bool isDone = false;
    onThread([&] { isDone = parts->isWorkDone; });
    return isDone;
}

void McpTestServer::runMaintenance()
{
    onThread([&] { parts->endpoint.runMaintenance(); });
}

std::size_t McpTestServer::lentMemory()
{
    std::size_t lent = 0;
    onThread([&] { lent = parts->options.memory - parts->memory.available(); });
    return lent;
}

} // namespace zelvo::service
