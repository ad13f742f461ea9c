#pragma once

#include <string>
#include <vector>

namespace zelvo::AgentCursorWording {

/// The keys of a chord as symbols, in the order given: "⌘⇧4". Shows the first eight keys, and of each name no
/// more than fits on a line.
std::string chord(std::vector<std::string> const& keys);

} // namespace zelvo::AgentCursorWording
