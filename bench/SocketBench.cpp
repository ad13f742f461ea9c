// Workload: the gateway's end sends a message and waits for its echo, one at a time, over the loopback
// interface. "small" has the size of a "cursor.position" frame, "large" is 4 MiB of text, like a big
// screenshot. The echo is either bare Beast on a separate thread or our WebSocket, with its inbox and its
// hops, on an agent thread. A hop is a task posted from one thread's io_context to another's.

#include "Baselines.h"
#include "LoopThread.h"
#include "platform/portable/net/BeastWebSocket.h"

#include <boost/asio/co_spawn.hpp>
#include <boost/asio/detached.hpp>

namespace zelvo {

namespace {

std::string const small(130, 'x');
std::string const large(std::size_t{4} << 20, 'x');

Task<> echo(std::shared_ptr<WebSocket> socket)
{
    try {
        while (true) {
            WebSocketMessage message = co_await socket->receive();
            co_await socket->send(std::move(message.payload));
        }
    } catch (NetworkFailure const&) {
        // The measuring end has closed.
    }
}

void ourEcho(benchmark::State& state, std::string const& text)
{
    EchoDriver driver;
    LoopThread agent;
    auto const executor = agent.io.get_executor();
    BeastWebSocketOpener opener({executor, executor, executor});
    WebSocketRequest request;
    request.url = "ws://127.0.0.1:" + std::to_string(driver.port()) + "/";
    std::shared_ptr<WebSocket> const socket = opener.open(std::move(request));
    asio::co_spawn(executor, echo(socket), asio::detached);
    driver.accept();
    measureRoundTrips(state, driver, text);
    socket->cancel();
}

} // namespace

} // namespace zelvo

int main(int count, char** arguments)
{
    using namespace zelvo;
    benchmark::RegisterBenchmark("hops", hops)->UseRealTime();
    benchmark::RegisterBenchmark("bareEchoSmall", bareEcho, small)->UseRealTime();
    benchmark::RegisterBenchmark("ourEchoSmall", ourEcho, small)->UseRealTime();
    benchmark::RegisterBenchmark("bareEchoLarge", bareEcho, large)->UseRealTime();
    benchmark::RegisterBenchmark("ourEchoLarge", ourEcho, large)->UseRealTime();
    auto const budget = [](Times const& times) { return 1.5 * times.at("bareEchoSmall") + 6 * hopOf(times); };
    return runWithRatios(
        count, arguments,
        {{"our echo, 130 bytes", "bare Beast echo", timeOf("ourEchoSmall"), timeOf("bareEchoSmall")},
         {"our echo, 130 bytes", "1.5 x bare Beast echo + 6 x hop", timeOf("ourEchoSmall"), budget, 1},
         {"our echo, 4 MiB", "bare Beast echo", timeOf("ourEchoLarge"), timeOf("bareEchoLarge"), 1.5},
         {"bare Beast echo, 130 bytes", "bare hop", timeOf("bareEchoSmall"), hopOf}});
}
