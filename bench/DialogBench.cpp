// Workload: a button that opens a dialog of thirty choices in a real program, on an otherwise idle private
// desktop of 1920 x 1080. The real agent program clicks it ("actions.perform"), waits until the screen is at
// rest ("screen.settle", 300 ms) and reads the dialog ("ui.tree"), from the first frame's first byte to the
// last reply's last. The baseline is what nobody can save: the time that the dialog itself takes, from a bare
// press to the last drawing that the X server reports; those 300 ms; and 1.2 times "ui.tree" of the open
// dialog.

#include "AgentStage.h"
#include "Baselines.h"
#include "DrawingLog.h"
#include "desktop/harness/Chromium.h"
#include "desktop/harness/WaitFor.h"
#include "wire/Json.h"

#include <chrono>
#include <csignal>
#include <fstream>
#include <memory>
#include <stdexcept>

namespace zelvo {

namespace {

using std::chrono::milliseconds;
using std::chrono::steady_clock;

constexpr milliseconds quiet{300};
// The chance that a program draws once more after such a rest is small.
constexpr milliseconds rest{1000};
std::string const tree = commandFrame("ui.tree");
std::string const settle = commandFrame("screen.settle", R"({"quietMs":300,"timeoutMs":10000})");

std::vector<std::string> const programs = {"GTK", "Qt", "Chromium"};

struct Place {
    int x = 0;
    int y = 0;
};

class Stage {
public:
    Stage()
    {
        agent.start();
        drawings = std::make_unique<DrawingLog>(agent.display());
    }

    /// Starts a program and finds its button.
    void show(std::string const& program)
    {
        test::PrivateDesktop& desktop = agent.privateDesktop();
        if (shown)
            desktop.processes().end(shown, SIGTERM);
        shown = desktop.start(commandFor(program));
        test::require("the button", [this] { return findButton(); }, std::chrono::seconds(60));
        settleDown();
    }

    /// Seconds of the dialog itself.
    double openBare() { return drawings->click(button.x, button.y, rest); }
    /// Seconds of the three commands.
    double openAsAgent()
    {
        auto const before = steady_clock::now();
        ask(click());
        ask(settle);
        ask(tree);
        double const time = std::chrono::duration<double>(steady_clock::now() - before).count();
        assertShowsDialog();
        return time;
    }
    /// Seconds of the first reading of the dialog, for which programs make much of what is read.
    double read()
    {
        auto const before = steady_clock::now();
        ask(tree);
        double const time = std::chrono::duration<double>(steady_clock::now() - before).count();
        assertShowsDialog();
        return time;
    }
    void close()
    {
        ask(tree);
        assertShowsDialog();
        agent.privateDesktop().run({"xdotool", "key", "Escape"});
        test::require("the end of the dialog", [this] { return !isOpen(); });
        settleDown();
    }

private:
    void ask(std::string const& frame)
    {
        if (agent.ask(frame).find("\"result\"") == std::string_view::npos)
            throw std::runtime_error("no result: " + std::string(agent.answer()));
    }
    std::string click() const
    {
        return commandFrame("actions.perform", R"({"actions":[{"type":"click","x":)" +
                                                   std::to_string(button.x) + R"(,"y":)" +
                                                   std::to_string(button.y) + "}]}");
    }
    bool showsDialog() const { return agent.answer().find("Choice 29") != std::string_view::npos; }
    void assertShowsDialog() const
    {
        if (!showsDialog())
            throw std::runtime_error("the dialog is not in the tree");
    }
    bool isOpen()
    {
        ask(tree);
        return showsDialog();
    }
    /// Until nothing moves, and a further click is no double click.
    void settleDown() { ask(commandFrame("screen.settle", R"({"quietMs":1000,"timeoutMs":20000})")); }

    bool findButton()
    {
        auto const reply = parseJson(agent.ask(tree));
        json::object const* const result = reply ? read::object(reply->as_object(), "result") : nullptr;
        if (!result)
            return false;
        for (json::value const& each : result->at("elements").as_array()) {
            json::object const& element = each.as_object();
            if (read::text(element, "title") != "Open choices")
                continue;
            json::object const& frame = element.at("frame").as_object();
            auto const middle = [&](char const* origin, char const* size) {
                return static_cast<int>(*read::number(frame, origin) + *read::number(frame, size) / 2);
            };
            button = {.x = middle("x", "w"), .y = middle("y", "h")};
            return true;
        }
        return false;
    }

    std::vector<std::string> commandFor(std::string const& program)
    {
        if (program == "GTK")
            return {"/usr/bin/python3", ZELVO_GTK_DIALOG};
        if (program == "Qt")
            return {ZELVO_QT_DIALOG};
        auto const page = agent.home() / "choices.html";
        std::ofstream out(page);
        out << "<!doctype html><title>Opener</title><button onclick='d.showModal()'>Open choices</button>"
               "<dialog id=d><p>";
        for (int i = 0; i < 30; ++i)
            out << "<label><input type=checkbox>Choice " << i << "</label> " << (i % 3 == 2 ? "<br>" : "");
        out << "<p><button>Cancel</button><button>OK</button></dialog>";
        out.close();
        return test::chromiumCommand(agent.home() / "chromium", {"file://" + page.string()});
    }

    AgentStage agent;
    std::unique_ptr<DrawingLog> drawings;
    pid_t shown = 0;
    Place button;
};

/// With one program at a time.
Stage& stageWith(std::string const& program)
{
    static Stage made;
    static std::string shown;
    if (shown != program) {
        made.show(program);
        shown = program;
    }
    return made;
}

void registerAs(std::string const& name,
                std::string const& program,
                double (Stage::*measured)(),
                bool isOpened)
{
    auto const run = [program, measured, isOpened](benchmark::State& state) {
        Stage& stage = stageWith(program);
        for (auto _ : state) {
            if (isOpened)
                stage.openBare();
            state.SetIterationTime((stage.*measured)());
            stage.close();
        }
    };
    benchmark::RegisterBenchmark((name + program).c_str(), run)
        ->UseManualTime()
        ->Iterations(1)
        ->Repetitions(11)
        ->ReportAggregatesOnly()
        ->Unit(benchmark::kMillisecond);
}

std::vector<Ratio> ratios()
{
    std::vector<Ratio> all;
    for (std::string const& program : programs)
        all.push_back({.what = "act + settle + tree, " + program,
                       .against = "its own time + 300 ms + 1.2 x walk",
                       .measured = timeOf("agent" + program),
                       .baseline =
                           [program](Times const& times) {
                               return times.at("own" + program) + quiet / std::chrono::microseconds(1) +
                                      1.2 * times.at("walk" + program);
                           },
                       .atMost = 1});
    return all;
}

} // namespace

} // namespace zelvo

int main(int count, char** arguments)
{
    using namespace zelvo;
    for (std::string const& program : programs) {
        registerAs("own", program, &Stage::openBare, false);
        registerAs("walk", program, &Stage::read, true);
        registerAs("agent", program, &Stage::openAsAgent, false);
    }
    return runWithRatios(count, arguments, ratios());
}
