// Workload: commands to the real agent program on a private desktop of 1920 x 1080, one at a time, from the
// frame's first byte to the reply's last, over the loopback interface; its start, from before the process to
// its first heartbeat; and its memory after five idle seconds.

#include "AgentStage.h"
#include "BareScreenshot.h"
#include "Baselines.h"

#include <chrono>
#include <memory>
#include <thread>

namespace zelvo {

namespace {

constexpr int quality = 80;
std::string const cursor = commandFrame("cursor.position");
std::string const display = commandFrame("display.info");
std::string const screenshot = commandFrame("screenshot", R"({"format":"jpeg","quality":80})");

/// One desktop for all benchmarks of the same screen.
AgentStage& furnished()
{
    static std::unique_ptr<AgentStage> const stage = [] {
        auto made = std::make_unique<AgentStage>();
        made->furnish();
        made->start();
        return made;
    }();
    return *stage;
}

bool isResult(std::string_view reply)
{
    return reply.find("\"result\"") != std::string_view::npos;
}

void command(benchmark::State& state, std::string const& frame)
{
    AgentStage& stage = furnished();
    for (auto _ : state)
        if (!isResult(stage.ask(frame)))
            state.SkipWithError("no result");
}

void bareScreenshot(benchmark::State& state)
{
    BareScreenshot bare(furnished().display());
    for (auto _ : state)
        if (bare.take(quality) == 0)
            state.SkipWithError("no picture");
}

void hidingScreenshot(benchmark::State& state)
{
    AgentStage& stage = furnished();
    std::string const before(stage.ask(screenshot));
    stage.hide({"org.xfce.mousepad"});
    // Without the editor's text the picture is far smaller.
    if (stage.ask(screenshot).size() * 10 > before.size() * 9)
        state.SkipWithError("nothing was left out");
    for (auto _ : state)
        if (!isResult(stage.ask(screenshot)))
            state.SkipWithError("no result");
    stage.hide({});
}

void startToHeartbeat(benchmark::State& state)
{
    AgentStage stage;
    for (auto _ : state) {
        state.SetIterationTime(stage.start());
        stage.kill();
    }
}

Times memory; // in MB, by the name of the kernel's counter

void idleMemory(benchmark::State& state)
{
    AgentStage stage;
    for (auto _ : state) {
        stage.start();
        std::this_thread::sleep_for(std::chrono::seconds(5));
        for (char const* name : {"VmRSS", "RssAnon"})
            memory[name] = stage.memory(name) * 1024 / 1e6;
    }
}

Ratio memoryRatio(std::string what, std::string name, double limit)
{
    return {.what = std::move(what),
            .against = "limit",
            .measured = [name = std::move(name)](Times const&) { return memory.at(name); },
            .baseline = [limit](Times const&) { return limit; },
            .atMost = 1,
            .unit = "MB"};
}

std::vector<Ratio> ratios()
{
    auto const budget = [](Times const& times) { return 1.5 * times.at("bareEcho") + 6 * hopOf(times); };
    std::string const budgetName = "1.5 x bare Beast echo + 6 x hop";
    auto const startLimit = [](Times const&) { return 0.3e6; };
    return {{"cursor.position", budgetName, timeOf("cursorPosition"), budget, 1},
            {"display.info", budgetName, timeOf("displayInfo"), budget, 1},
            {"screenshot, nothing hidden", "bare grab and encode", timeOf("screenshot"),
             timeOf("bareScreenshot"), 1.3},
            {"screenshot, one application hidden", "bare grab and encode", timeOf("hidingScreenshot"),
             timeOf("bareScreenshot"), 2.2},
            {"start to first heartbeat", "limit", timeOf("startToHeartbeat"), startLimit, 1},
            memoryRatio("resident memory when idle", "VmRSS", 60),
            memoryRatio("private memory when idle", "RssAnon", 25)};
}

void registerAll()
{
    using benchmark::kMillisecond;
    benchmark::RegisterBenchmark("hops", hops)->UseRealTime();
    benchmark::RegisterBenchmark("bareEcho", bareEcho, cursor)->UseRealTime();
    benchmark::RegisterBenchmark("cursorPosition", command, cursor)->UseRealTime();
    benchmark::RegisterBenchmark("displayInfo", command, display)->UseRealTime();
    benchmark::RegisterBenchmark("bareScreenshot", bareScreenshot)->UseRealTime()->Unit(kMillisecond);
    benchmark::RegisterBenchmark("screenshot", command, screenshot)->UseRealTime()->Unit(kMillisecond);
    benchmark::RegisterBenchmark("hidingScreenshot", hidingScreenshot)->UseRealTime()->Unit(kMillisecond);
    benchmark::RegisterBenchmark("startToHeartbeat", startToHeartbeat)
        ->UseManualTime()
        ->Iterations(5)
        ->Unit(kMillisecond);
    benchmark::RegisterBenchmark("idleMemory", idleMemory)->UseRealTime()->Iterations(1)->Unit(kMillisecond);
}

} // namespace

} // namespace zelvo

int main(int count, char** arguments)
{
    zelvo::registerAll();
    return zelvo::runWithRatios(count, arguments, zelvo::ratios());
}
