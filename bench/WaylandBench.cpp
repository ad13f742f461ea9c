// Workload: "screenshot" with the real agent program on private Wayland desktops of 1920 x 1080 with an
// editor, and on an X11 one with the same editor; the processor time that the agent takes there in five
// seconds of rest.

#include "AgentStage.h"
#include "Baselines.h"
#include "Editor.h"
#include "ProcessorTime.h"
#include "RatioTable.h"
#include "WaylandStage.h"

#include <memory>
#include <thread>

namespace zelvo {

namespace {

using test::Compositor;

struct Desktop {
    Compositor kind;
    std::string name;
};
Desktop const desktops[] = {
    {Compositor::sway, "sway"}, {Compositor::kwin, "KWin"}, {Compositor::gnome, "GNOME"}};

std::string const screenshot = commandFrame("screenshot", R"({"format":"jpeg","quality":80})");
constexpr std::chrono::seconds painting{
    2}; // A new window's content is complete only after it has painted itself.
constexpr std::chrono::seconds rest{5};

Times resting; // processor time in ms, by the desktop's name

template <class Stage>
void measure(benchmark::State& state, Stage& stage, pid_t agent, std::string const& name)
{
    std::this_thread::sleep_for(painting);
    for (auto _ : state)
        if (stage.ask(screenshot).find("\"result\"") == std::string_view::npos)
            state.SkipWithError("no picture");
    std::this_thread::sleep_for(rest); // What a picture leaves to do is not measured.
    double const before = processorTime(agent);
    std::this_thread::sleep_for(rest);
    resting[name] = (processorTime(agent) - before) * 1000;
}

void onX11(benchmark::State& state)
{
    AgentStage stage;
    stage.start();
    openEditor(stage.privateDesktop());
    measure(state, stage, stage.program().pid(), "X11");
}

void onWayland(benchmark::State& state, Desktop const& desktop)
{
    if (std::string const lacks = test::WaylandMachine::missing(desktop.kind); !lacks.empty()) {
        state.SkipWithError(lacks.c_str());
        return;
    }
    WaylandStage stage(desktop.kind);
    measure(state, stage, stage.agentPid(), desktop.name);
}

std::vector<Ratio> ratios()
{
    std::vector<Ratio> rows;
    for (Desktop const& desktop : desktops) {
        rows.push_back({"screenshot on " + desktop.name, "on X11", timeOf("screenshot" + desktop.name),
                        timeOf("screenshotX11"), 1.5});
        rows.push_back({.what = "processor time of 5 s of rest on " + desktop.name,
                        .against = "on X11, and 10 ms",
                        .measured = [name = desktop.name](Times const&) { return resting.at(name); },
                        .baseline = [](Times const&) { return resting.at("X11") + 10; },
                        .atMost = 1,
                        .unit = "ms"});
    }
    return rows;
}

void registerAll()
{
    auto const prepared = [](benchmark::internal::Benchmark* made) {
        made->UseRealTime()->Unit(benchmark::kMillisecond)->Iterations(30);
    };
    prepared(benchmark::RegisterBenchmark("screenshotX11", onX11));
    for (Desktop const& desktop : desktops)
        prepared(benchmark::RegisterBenchmark(("screenshot" + desktop.name).c_str(), onWayland, desktop));
}

} // namespace

} // namespace zelvo

int main(int count, char** arguments)
{
    zelvo::registerAll();
    return zelvo::runWithRatios(count, arguments, zelvo::ratios());
}
