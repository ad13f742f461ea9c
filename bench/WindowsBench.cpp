// Workload: the main window of the real agent program with 500 entries in its log, from a second start of the
// program until its rows are on the screen; what the agent's memory keeps of ten such windows; and the
// processor time of ten idle seconds before the first and after the last of them.

#include "AgentStage.h"
#include "Baselines.h"
#include "ProcessorTime.h"
#include "desktop/harness/XQuestions.h"
#include "state/ActivityEntry.h"

#include <unistd.h>

#include <algorithm>
#include <array>
#include <chrono>
#include <memory>
#include <stdexcept>
#include <thread>

namespace zelvo {

namespace {

using std::chrono::steady_clock;

constexpr int entryCount = 500;
// A part of the smallest main window that rows of the log fill.
constexpr xcb_rectangle_t rowsPlace{40, 200, 300, 250};

json::array longLog()
{
    json::array log;
    auto const now = std::chrono::system_clock::now();
    for (int i = 0; i < entryCount; ++i) {
        bool const isCommand = i % 3 == 0;
        ActivityEntry entry{
            .id = "00000000-0000-4000-8000-" + std::to_string(100'000'000'000 + i),
            .at = std::chrono::time_point_cast<Date::duration>(now - std::chrono::minutes(9 * i)),
            .platformName = "Acme Assistant",
            .summary = isCommand ? "Ran a command" : "12 actions in Thunderbird"};
        entry.kind = isCommand ? ActivityKind::terminal : ActivityKind::actions;
        entry.detail = isCommand ? "ls Invoices\nmay.ods\njune.ods" : "6 clicks, 210 characters typed";
        entry.agentName = "Bookkeeper";
        log.push_back(entry.toJson());
    }
    return log;
}

class OpenedWindow {
public:
    explicit OpenedWindow(AgentStage& stage) : stage(stage), server(test::connectTo(stage.display()))
    {
        auto const before = steady_clock::now();
        pid_t const second = stage.program().startBeside({});
        window = stage.privateDesktop().waitForWindow({.title = "Zelvo", .className = "zelvo-agent"});
        test::require("the rows", [this] { return showsRows(); });
        opening = std::chrono::duration<double>(steady_clock::now() - before).count();
        stage.privateDesktop().processes().waitForEnd(second, 10);
    }
    double seconds() const { return opening; }
    void close()
    {
        test::require("the keyboard", [this] { return stage.privateDesktop().activeWindow() == window; });
        stage.privateDesktop().run({"xdotool", "key", "Escape"});
        test::require("its end", [this] {
            return !stage.privateDesktop().findWindow({.title = "Zelvo", .className = "zelvo-agent"});
        });
    }

private:
    bool showsRows()
    {
        auto const cookie = xcb_get_image(server.get(), XCB_IMAGE_FORMAT_Z_PIXMAP, window, rowsPlace.x,
                                          rowsPlace.y, rowsPlace.width, rowsPlace.height, ~0U);
        test::XReply<xcb_get_image_reply_t> const image(xcb_get_image_reply(server.get(), cookie, nullptr));
        if (!image)
            return false;
        auto const* const pixels = reinterpret_cast<std::uint32_t const*>(xcb_get_image_data(image.get()));
        int const count = xcb_get_image_data_length(image.get()) / 4;
        auto const others = std::count_if(pixels, pixels + count, [&](auto each) { return each != *pixels; });
        return others > count / 50; // Text on an even ground.
    }

    AgentStage& stage;
    test::XConnection server;
    xcb_window_t window = 0;
    double opening = 0;
};

/// Milliseconds of processor time in ten seconds without a command.
double restingTime(AgentStage& stage)
{
    std::this_thread::sleep_for(std::chrono::seconds(3)); // The start, or a window's end, is not measured.
    double const before = processorTime(stage.program().pid());
    std::this_thread::sleep_for(std::chrono::seconds(10)); // The measured time.
    return (processorTime(stage.program().pid()) - before) * 1000;
}

std::map<std::string, double> figures;

AgentStage& stageWithLog()
{
    static std::unique_ptr<AgentStage> const stage = [] {
        auto made = std::make_unique<AgentStage>();
        made->store("zelvo.activity", longLog());
        made->start();
        figures["processorBefore"] = restingTime(*made);
        return made;
    }();
    return *stage;
}

void mainWindow(benchmark::State& state)
{
    AgentStage& stage = stageWithLog();
    for (auto _ : state) {
        OpenedWindow window(stage);
        state.SetIterationTime(window.seconds());
        window.close();
    }
}

void afterTenWindows(benchmark::State& state)
{
    AgentStage& stage = stageWithLog();
    auto const resident = [&] { return stage.memory("VmRSS") * 1024 / 1e6; };
    for (auto _ : state) {
        OpenedWindow(stage).close();
        double const before = resident();
        for (int i = 0; i < 10; ++i)
            OpenedWindow(stage).close();
        figures["kept"] = resident() - before;
        figures["resident"] = resident();
        figures["processorAfter"] = restingTime(stage);
    }
}

Ratio against(std::string what, std::string name, double limit, std::string unit)
{
    return {.what = std::move(what),
            .against = "limit",
            .measured = [name = std::move(name)](Times const&) { return figures.at(name); },
            .baseline = [limit](Times const&) { return limit; },
            .atMost = 1,
            .unit = std::move(unit)};
}

std::vector<Ratio> ratios()
{
    auto const limit = [](Times const&) { return 0.15e6; };
    return {{"main window with 500 entries, second start to rows", "limit", timeOf("mainWindow"), limit, 1},
            against("memory kept by ten main windows", "kept", 2, "MB"),
            against("resident memory after ten main windows", "resident", 60, "MB"),
            {.what = "processor time of 10 s after them",
             .against = "before them",
             .measured = [](Times const&) { return figures.at("processorAfter"); },
             .baseline = [](Times const&) { return figures.at("processorBefore") + 1; },
             .atMost = 1.25,
             .unit = "ms"}};
}

} // namespace

} // namespace zelvo

int main(int count, char** arguments)
{
    using namespace zelvo;
    benchmark::RegisterBenchmark("mainWindow", mainWindow)
        ->UseManualTime()
        ->Iterations(10)
        ->Unit(benchmark::kMillisecond);
    benchmark::RegisterBenchmark("afterTenWindows", afterTenWindows)
        ->UseRealTime()
        ->Iterations(1)
        ->Unit(benchmark::kMillisecond);
    return runWithRatios(count, arguments, ratios());
}
