#include "RatioTable.h"

#include <cstdio>
#include <stdexcept>

namespace zelvo {

namespace {

/// Prints as usual, and keeps the median of each benchmark's repetitions, or its only time.
class KeepingReporter final : public benchmark::ConsoleReporter {
public:
    void ReportRuns(std::vector<Run> const& runs) override
    {
        ConsoleReporter::ReportRuns(runs);
        for (Run const& run : runs) {
            bool const isTime = run.run_type == Run::RT_Iteration && run.repetitions <= 1;
            if (isTime || run.aggregate_name == "median")
                times[run.run_name.function_name] =
                    run.GetAdjustedRealTime() / benchmark::GetTimeUnitMultiplier(run.time_unit) * 1e6;
        }
    }

    Times times;
};

} // namespace

int runWithRatios(int count, char** arguments, std::vector<Ratio> const& ratios, Times* times)
{
    benchmark::Initialize(&count, arguments);
    if (benchmark::ReportUnrecognizedArguments(count, arguments))
        return 1;
    KeepingReporter reporter;
    benchmark::RunSpecifiedBenchmarks(&reporter);
    std::printf("\n%-40s %-40s %10s %10s %4s %7s %7s\n", "what", "against", "measured", "baseline", "",
                "ratio", "at most");
    for (Ratio const& ratio : ratios) {
        try {
            double const measured = ratio.measured(reporter.times);
            double const baseline = ratio.baseline(reporter.times);
            std::printf("%-40s %-40s %10.1f %10.1f %-4s %7.2f", ratio.what.c_str(), ratio.against.c_str(),
                        measured, baseline, ratio.unit.c_str(), measured / baseline);
            std::printf(ratio.atMost > 0 ? " %7.2f\n" : "       -\n", ratio.atMost);
        } catch (std::out_of_range const&) {
            // Filtered out by --benchmark_filter.
        }
    }
    if (times)
        *times = reporter.times;
    return 0;
}

} // namespace zelvo
