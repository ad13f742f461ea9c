// Workload: "desktop_see" over /mcp, and the one command that it sends over /v1, through the built gateway to
// a machine that answers at once, and back: a tree of 60 elements, and a picture of 300 KB. Both are measured
// in short turns one after the other, so that the machine's load is the same for both.

#include "BareMachine.h"
#include "McpLine.h"
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
constexpr int warmUp = 10;
constexpr int elements = 60;
constexpr std::size_t pictureBytes = 300'000;
constexpr double maxOverhead = 1'000; // us

/// What is asked of the machine, and what it answers.
struct Scene {
    json::object seeArguments;
    std::string command; ///< the body for /v1
    std::string result;
    int trips = 0;
};

Scene treeScene()
{
    json::array all;
    for (int i = 0; i < elements; ++i)
        all.push_back({{"id", "e" + std::to_string(i)},
                       {"role", i % 3 == 0 ? "AXTextField" : "AXButton"},
                       {"title", "Choice number " + std::to_string(i)},
                       {"enabled", true},
                       {"frame", {{"x", 20}, {"y", 30 * i}, {"w", 200}, {"h", 28}}},
                       {"actions", {"AXPress"}}});
    json::object const tree{{"app", {{"bundleId", "bench"}, {"name", "Bench"}}},
                            {"snapshotId", "s1"},
                            {"truncated", false},
                            {"elements", std::move(all)}};
    return {.seeArguments = {{"what", "tree"}},
            .command =
                R"({"method":"ui.tree","params":{"scope":"window","interactiveOnly":true,"format":"json"}})",
            .result = writeJson(tree),
            .trips = 2'000};
}

Scene pictureScene()
{
    return {.seeArguments = {{"what", "screenshot"}},
            .command = R"({"method":"screenshot","params":{"format":"jpeg","quality":80,"maxWidth":1280}})",
            .result = R"({"mime":"image/jpeg","widthPoints":1920,"heightPoints":1080,"imageWidth":1280,)"
                      R"("imageHeight":720,"data":")" +
                      std::string(pictureBytes, 'A') + "\"}",
            .trips = 600};
}

/// A gateway with a machine, and a caller by either way.
class Stage {
public:
    explicit Stage(Scene const& scene)
        : scene(scene), machine(gateway.port(), place.token, scene.result),
          plain(
              gateway.port(), "/v1/connections/" + place.connection + "/commands", {gateway.authorization()}),
          tool(gateway.port(), place.connection, gateway.authorization(), "desktop_see")
    {
        if (!gateway.comesOnline(place.connection))
            throw std::runtime_error("the machine is not online");
        tool.textOf(scene.seeArguments); // Throws unless it really sees.
    }

    void run(Trips& overHttp, Trips& overMcp)
    {
        for (int turn = 0; turn < turns; ++turn) {
            measure(overHttp, [this] { plain.post(scene.command); });
            measure(overMcp, [this] { tool.call(scene.seeArguments); });
        }
    }

private:
    template <class Trip>
    void measure(Trips& times, Trip const& trip) const
    {
        for (int i = 0; i < warmUp; ++i)
            trip();
        for (int i = 0; i < scene.trips / turns; ++i)
            times.measure(trip);
    }

    Scene const& scene;
    test::PrivateDesktop desktop;
    test::GatewayProgram gateway{desktop};
    test::GatewayProgram::Provisioned const place = gateway.provision();
    BareMachine machine;
    HttpLine plain;
    McpLine tool;
};

/// The times of both, by the name of the scene.
struct Measured {
    Trips overHttp;
    Trips overMcp;
};
std::map<std::string, Measured> all;

void sees(benchmark::State& state, std::string const& name, Scene const& scene)
{
    Stage stage(scene);
    for (auto _ : state)
        stage.run(all[name].overHttp, all[name].overMcp);
}

double median(Trips const& trips)
{
    return trips.percentile(0.5);
}

} // namespace

} // namespace zelvo

int main(int count, char** arguments)
{
    using namespace zelvo;
    benchmark::RegisterBenchmark("tree", sees, "tree", treeScene())->Iterations(1)->UseRealTime();
    benchmark::RegisterBenchmark("picture", sees, "picture", pictureScene())->Iterations(1)->UseRealTime();
    return runWithRatios(
        count, arguments,
        {{.what = "desktop_see of a tree over /mcp",
          .against = "the same command over /v1",
          .measured = [](Times const&) { return median(all["tree"].overMcp); },
          .baseline = [](Times const&) { return median(all["tree"].overHttp); }},
         {.what = "what /mcp adds to it",
          .against = "limit",
          .measured = [](Times const&) { return median(all["tree"].overMcp) - median(all["tree"].overHttp); },
          .baseline = [](Times const&) { return maxOverhead; },
          .atMost = 1},
         {.what = "desktop_see of a picture over /mcp",
          .against = "the same command over /v1",
          .measured = [](Times const&) { return median(all["picture"].overMcp); },
          .baseline = [](Times const&) { return median(all["picture"].overHttp); },
          .atMost = 1.1}});
}
