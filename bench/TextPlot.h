#pragma once

#include <string>
#include <utility>
#include <vector>

namespace zelvo {

/// A bar chart of text, on a logarithmic scale.
class TextPlot {
public:
    TextPlot(std::string title, std::string unit) : title(std::move(title)), unit(std::move(unit)) {}

    void add(std::string label, double value) { bars.emplace_back(std::move(label), value); }
    /// Writes to standard output; no output without bars.
    void print() const;

private:
    std::string title;
    std::string unit;
    std::vector<std::pair<std::string, double>> bars;
};

} // namespace zelvo
