// Workload: one command at a time, over an HTTP connection that stays open, through the built gateway to a
// machine that answers at once, and back. "small" answers like "cursor.position", "picture" like a screenshot
// of 300 KB. The baseline relays the same bytes with bare Beast between the same caller and the same machine.
// Both are measured in short turns one after the other, so that the machine's load is the same for both.

#include "BareMachine.h"
#include "BareRelay.h"
#include "HttpLine.h"
#include "RatioTable.h"
#include "Trips.h"
#include "desktop/harness/PrivateDesktop.h"
#include "end_to_end/GatewayProgram.h"

#include <map>
#include <stdexcept>
#include <string>

namespace zelvo {

namespace {

constexpr int turns = 20;
constexpr int warmUp = 50;
constexpr std::size_t pictureBytes = 300'000;

std::string const smallResult = R"({"x":812,"y":440,"display":66,"app":"org.xfce.mousepad"})";

/// A gateway and its baseline, each with a machine and a caller.
class Stage {
public:
    explicit Stage(std::string const& result)
        : relayMachine(relay.port(), "", result), relayCaller(relay.port(), "/", {}),
          machine(gateway.port(), place.token, result),
          caller(
              gateway.port(), "/v1/connections/" + place.connection + "/commands", {gateway.authorization()})
    {
        if (!gateway.comesOnline(place.connection))
            throw std::runtime_error("the machine is not online");
    }

    void run(int trips, Trips& bare, Trips& relayed)
    {
        for (int turn = 0; turn < turns; ++turn) {
            run(relayCaller, frame, trips / turns, bare);
            run(caller, command, trips / turns, relayed);
        }
    }

private:
    static void run(HttpLine& line, std::string const& body, int trips, Trips& times)
    {
        for (int trip = 0; trip < warmUp; ++trip)
            line.post(body);
        for (int trip = 0; trip < trips; ++trip)
            times.measure([&] { benchmark::DoNotOptimize(line.post(body)); });
    }

    std::string const frame = R"({"id":"0123456789abcdef","method":"cursor.position","params":{}})";
    std::string const command = R"({"method":"cursor.position","params":{}})";
    test::PrivateDesktop desktop;
    test::GatewayProgram gateway{desktop};
    test::GatewayProgram::Provisioned const place = gateway.provision();
    BareRelay relay;
    BareMachine relayMachine;
    HttpLine relayCaller;
    BareMachine machine;
    HttpLine caller;
};

/// The times of both, by the size of the answer.
struct Measured {
    Trips bare;
    Trips relayed;
};
std::map<std::string, Measured> all;

void relays(benchmark::State& state, std::string const& name, std::string const& result, int trips)
{
    Stage stage(result);
    for (auto _ : state)
        stage.run(trips, all[name].bare, all[name].relayed);
}

Ratio ratio(std::string const& name, std::string const& title, double part, double atMost)
{
    return {.what = title,
            .against = "bare HTTP to WebSocket relay",
            .measured = [name, part](Times const&) { return all[name].relayed.percentile(part); },
            .baseline = [name, part](Times const&) { return all[name].bare.percentile(part); },
            .atMost = atMost};
}

} // namespace

} // namespace zelvo

int main(int count, char** arguments)
{
    using namespace zelvo;
    std::string const picture = R"({"mime":"image/jpeg","data":")" + std::string(pictureBytes, 'A') + "\"}";
    benchmark::RegisterBenchmark("small", relays, "small", smallResult, 10'000)->Iterations(1)->UseRealTime();
    benchmark::RegisterBenchmark("picture", relays, "picture", picture, 1'000)->Iterations(1)->UseRealTime();
    return runWithRatios(count, arguments,
                         {ratio("small", "relayed command, median", 0.5, 1.5),
                          ratio("small", "relayed command, 99th percentile", 0.99, 2),
                          ratio("picture", "relayed picture of 300 KB, median", 0.5, 0),
                          ratio("picture", "relayed picture of 300 KB, 99th percentile", 0.99, 0)});
}
