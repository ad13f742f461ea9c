#pragma once

#include <benchmark/benchmark.h>

#include <functional>
#include <map>
#include <string>
#include <vector>

namespace zelvo {

/// The times of one run by benchmark name, in microseconds per iteration.
using Times = std::map<std::string, double>;

/// A row of the final table: a measurement against a baseline of the same run.
struct Ratio {
    std::string what;
    std::string against;
    std::function<double(Times const&)> measured; ///< throws std::out_of_range if it was filtered out
    std::function<double(Times const&)> baseline; ///< in the same unit
    double atMost = 0;                            ///< 0 for none
    std::string unit = "us";
};

/// Runs the registered benchmarks and prints the ratios below them. For main().
/// times  receives the times of the run
int runWithRatios(int count, char** arguments, std::vector<Ratio> const& ratios, Times* times = nullptr);

} // namespace zelvo
