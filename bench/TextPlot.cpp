#include "TextPlot.h"

#include <algorithm>
#include <cmath>
#include <cstdio>

namespace zelvo {

namespace {

constexpr double signsPerDecade = 12;

}

void TextPlot::print() const
{
    if (bars.empty())
        return;
    auto const least = std::ranges::min_element(bars, {}, &std::pair<std::string, double>::second)->second;
    double const start = std::floor(std::log10(std::max(least, 1e-3)));
    std::printf("\n%s (each %d signs are a factor of ten)\n", title.c_str(),
                static_cast<int>(signsPerDecade));
    for (auto const& [label, value] : bars) {
        double const length = (std::log10(std::max(value, 1e-3)) - start) * signsPerDecade;
        std::string const bar(static_cast<std::size_t>(std::max(std::lround(length), 1L)), '#');
        std::printf("%18s |%s %.1f %s\n", label.c_str(), bar.c_str(), value, unit.c_str());
    }
}

} // namespace zelvo
