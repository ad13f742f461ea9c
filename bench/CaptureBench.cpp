// Workload: the command "screenshot" to the real agent program on private desktops of several sizes, with an
// editor, a terminal full of text and plain windows, as JPEG of quality 80: from the frame's first byte to
// the reply's last, with nothing hidden and with the editor hidden.

#include "AgentStage.h"
#include "BareScreenshot.h"
#include "Baselines.h"
#include "TextPlot.h"

#include <array>
#include <memory>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

namespace zelvo {

namespace {

constexpr int quality = 80;
std::string const screenshot = commandFrame("screenshot", R"({"format":"jpeg","quality":80})");

struct Size {
    int width;
    int height;
    bool operator==(Size const&) const = default;
};

constexpr std::array<Size, 4> sizes{{{1280, 720}, {1920, 1080}, {2560, 1440}, {3840, 2160}}};

std::string textOf(Size size)
{
    return std::to_string(size.width) + "x" + std::to_string(size.height);
}

std::string nameOf(Size size, char const* what)
{
    return textOf(size) + " " + what;
}

/// The desktop of this size; only one exists at a time.
AgentStage& stageOf(Size size)
{
    static std::unique_ptr<AgentStage> stage;
    static Size present{};
    if (!stage || present != size) {
        stage.reset();
        stage = std::make_unique<AgentStage>(size.width, size.height);
        present = size;
        stage->furnish();
        stage->start();
    }
    return *stage;
}

void takePictures(benchmark::State& state, AgentStage& stage)
{
    for (auto _ : state)
        if (stage.ask(screenshot).find("\"result\"") == std::string_view::npos)
            state.SkipWithError("no result");
}

void bare(benchmark::State& state, Size size)
{
    BareScreenshot screen(stageOf(size).display());
    for (auto _ : state)
        if (screen.take(quality) == 0)
            state.SkipWithError("no picture");
}

void nothingHidden(benchmark::State& state, Size size)
{
    takePictures(state, stageOf(size));
}

void editorHidden(benchmark::State& state, Size size)
{
    AgentStage& stage = stageOf(size);
    std::size_t const before = stage.ask(screenshot).size();
    stage.hide({"org.xfce.mousepad"});
    // The editor's text is a large part of the picture.
    if (stage.ask(screenshot).size() * 100 > before * 97)
        state.SkipWithError("nothing was left out");
    takePictures(state, stage);
    stage.hide({});
}

std::vector<Ratio> ratios()
{
    std::vector<Ratio> rows;
    for (Size const size : sizes) {
        rows.push_back({textOf(size) + ", nothing hidden", "bare grab and encode",
                        timeOf(nameOf(size, "whole")), timeOf(nameOf(size, "bare")), 1.3});
        rows.push_back({textOf(size) + ", one application hidden", "bare grab and encode",
                        timeOf(nameOf(size, "hiding")), timeOf(nameOf(size, "bare")), 2.2});
    }
    return rows;
}

void registerAll()
{
    for (Size const size : sizes)
        for (auto const& [what, run] : {std::pair("bare", &bare), std::pair("whole", &nothingHidden),
                                        std::pair("hiding", &editorHidden)})
            benchmark::RegisterBenchmark(nameOf(size, what).c_str(), run, size)
                ->UseRealTime()
                ->Unit(benchmark::kMillisecond);
}

void printPlot(Times const& times)
{
    TextPlot plot("screenshot: milliseconds over the size of the screen", "ms");
    for (Size const size : sizes)
        for (char const* const what : {"bare", "whole", "hiding"})
            if (auto const found = times.find(nameOf(size, what)); found != times.end())
                plot.add(nameOf(size, what), found->second / 1e3);
    plot.print();
}

} // namespace

} // namespace zelvo

int main(int count, char** arguments)
{
    zelvo::registerAll();
    zelvo::Times times;
    int const result = zelvo::runWithRatios(count, arguments, zelvo::ratios(), &times);
    zelvo::printPlot(times);
    return result;
}
