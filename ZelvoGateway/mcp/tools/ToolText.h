#pragma once

#include "ZelvoGateway/mcp/McpTool.h"

#include <cstddef>
#include <string>
#include <string_view>
#include <vector>

/// Texts for models: short enough for their clients, and harmless where a machine wrote them.
namespace zelvo::service::tooltext {

/// Half tokens, roughly: an ASCII character counts 1, every other code point 2.
std::size_t costOf(std::string_view text);
constexpr std::size_t maxCost =
    48'000; ///< of an answer; large clients cut at 25,000 tokens or 50,000 characters
constexpr std::size_t maxFailureCost = 10'000; ///< of one that is an error; large clients cut those at 11,000

/// The longest beginning, of whole code points, that costs at most this.
std::string_view prefixOfCost(std::string_view text, std::size_t cost);
/// The longest end.
std::string_view suffixOfCost(std::string_view text, std::size_t cost);

/// Foreign text of several lines: without escape sequences of terminals, and without control and direction
/// characters other than line ends and tabs.
std::string plainLines(std::string_view foreign);

/// Start and end of a long text, and between them how much is left out. Made plain after it is cut.
/// cost   of what is kept
std::string headAndTail(std::string_view text, std::size_t cost);

/// A name from a machine as a part of a line.
std::string shownName(std::string_view name);

/// Collects lines up to a cost.
class Answer {
public:
    explicit Answer(std::size_t limit = maxCost) : limit(limit) {}

    /// The first line, before others are added. It is kept, however long they are.
    void first(std::string_view line);
    void add(std::string line);
    void add(std::vector<std::string> more);
    /// The answer holds texts of a machine.
    void holdsData() { hasData = true; }
    std::string text() const;

private:
    std::size_t limit;
    std::string heading;
    std::vector<std::string> lines;
    std::size_t cost = 0;
    std::size_t leftOut = 0;
    bool hasData = false;
};

} // namespace zelvo::service::tooltext
