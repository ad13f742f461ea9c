#pragma once

#include <benchmark/benchmark.h>

#include <functional>
#include <map>
#include <string>
#include <vector>

namespace zelvo {

/// The times of one run by the name of the benchmark, in microseconds an iteration.
using Times = std::map<std::string, double>;

/// One line of the closing table: what was measured, against a baseline of the same run.
struct Ratio {
    std::string what;
    std::string against;
    std::function<double(Times const&)> measured; ///< throws std::out_of_range when it was left out
    std::function<double(Times const&)> baseline; ///< in the same unit
    double atMost = 0;                            ///< 0 for none
    std::string unit = "us";
};

/// Runs the registered benchmarks and prints the ratios of the run below them. For main().
/// times: gets the times of the run.
int runWithRatios(int count, char** arguments, std::vector<Ratio> const& ratios, Times* times = nullptr);

} // namespace zelvo
