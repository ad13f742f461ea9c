// Workload: one reading of all elements of a real program on a private desktop, with every attribute that
// agents get, like "ui.tree"; the baseline is libatspi, one call after another. Programs of 100 elements and
// more: GTK 3 with a third of them on the screen and with all, to 10,000; Qt and Chromium to 3,000.

#include "OneByOne.h"
#include "RatioTable.h"
#include "TextPlot.h"
#include "TreeStage.h"

#include <cstdio>
#include <map>
#include <optional>

namespace zelvo {

namespace {

struct Subject {
    TreeKind kind;
    char const* name;
    std::vector<int> sizes;
    double atMost; ///< of the time of the baseline, at 1,500 elements
};

std::vector<Subject> const subjects = {
    {TreeKind::gtkThirdShowing, "GTK, a third showing", {100, 300, 1500, 3000, 10000}, 0.10},
    {TreeKind::gtkAllShowing, "GTK, all showing", {100, 300, 1500, 3000, 10000}, 0.25},
    {TreeKind::chromium, "Chromium", {100, 300, 1500, 3000}, 0.10},
    {TreeKind::qt, "Qt", {100, 300, 1500, 3000}, 0.25},
};

std::string nameOf(Subject const& subject, int size, char const* how)
{
    return std::string(subject.name) + ", " + std::to_string(size) + ", " + how;
}

struct Counted {
    TreeStage::Reading ours;
    std::size_t baselineElements = 0;
};
std::map<std::string, Counted> counted;

TreeStage& stage()
{
    static TreeStage made;
    return made;
}

/// The program that the benchmarks of one size share.
std::int32_t shownProgram(Subject const& subject, int size)
{
    static std::optional<std::pair<std::string, std::int32_t>> shown;
    std::string const name = nameOf(subject, size, "");
    if (!shown || shown->first != name)
        shown.emplace(name, stage().show(subject.kind, size));
    return shown->second;
}

void registerSize(Subject const& subject, int size)
{
    std::string const key = nameOf(subject, size, "");
    auto const ours = [&subject, size, key](benchmark::State& state) {
        std::int32_t const pid = shownProgram(subject, size);
        for (auto _ : state)
            counted[key].ours = stage().walk(pid);
        if (counted[key].ours.elements == 0)
            state.SkipWithError("nothing was read");
    };
    auto const baseline = [&subject, size, key](benchmark::State& state) {
        std::int32_t const pid = shownProgram(subject, size);
        for (auto _ : state)
            counted[key].baselineElements = readOneByOne(pid);
        if (counted[key].baselineElements == 0)
            state.SkipWithError("nothing was read");
    };
    benchmark::RegisterBenchmark(nameOf(subject, size, "ours").c_str(), ours)
        ->UseRealTime()
        ->Iterations(size > 3000 ? 3 : 5)
        ->Unit(benchmark::kMillisecond);
    benchmark::RegisterBenchmark(nameOf(subject, size, "one by one").c_str(), baseline)
        ->UseRealTime()
        ->Iterations(1)
        ->Unit(benchmark::kMillisecond);
}

std::function<double(Times const&)> milliseconds(std::string name)
{
    return [name = std::move(name)](Times const& times) { return times.at(name) / 1e3; };
}

std::vector<Ratio> ratios()
{
    std::vector<Ratio> all;
    for (Subject const& subject : subjects)
        for (int const size : subject.sizes)
            all.push_back({.what = nameOf(subject, size, "ours"),
                           .against = "libatspi, one call at a time",
                           .measured = milliseconds(nameOf(subject, size, "ours")),
                           .baseline = milliseconds(nameOf(subject, size, "one by one")),
                           .atMost = size == 1500 ? subject.atMost : 0,
                           .unit = "ms"});
    return all;
}

void printMessages()
{
    std::printf("\n%-40s %10s %10s %12s %12s\n", "elements and D-Bus messages", "one by one", "kept",
                "messages", "per element");
    for (auto const& [name, count] : counted)
        if (count.baselineElements > 0)
            std::printf("%-40s %10zu %10zu %12llu %12.2f\n", name.c_str(), count.baselineElements,
                        count.ours.elements, static_cast<unsigned long long>(count.ours.messages),
                        static_cast<double>(count.ours.messages) /
                            static_cast<double>(count.baselineElements));
}

void printPlots(Times const& times)
{
    for (Subject const& subject : subjects) {
        TextPlot plot(std::string(subject.name) + ": milliseconds over elements", "ms");
        for (int const size : subject.sizes)
            for (char const* const how : {"ours", "one by one"})
                if (auto const found = times.find(nameOf(subject, size, how)); found != times.end())
                    plot.add(std::to_string(size) + " " + how, found->second / 1e3);
        plot.print();
    }
}

} // namespace

} // namespace zelvo

int main(int count, char** arguments)
{
    for (zelvo::Subject const& subject : zelvo::subjects)
        for (int const size : subject.sizes)
            zelvo::registerSize(subject, size);
    zelvo::Times times;
    int const result = zelvo::runWithRatios(count, arguments, zelvo::ratios(), &times);
    zelvo::printMessages();
    zelvo::printPlots(times);
    return result;
}
