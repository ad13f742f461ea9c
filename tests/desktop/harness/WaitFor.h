#pragma once

#include <chrono>
#include <functional>
#include <string>

namespace zelvo::test {

using namespace std::chrono_literals;

/// Asks until the answer is true; false when the time is over. The one place where a desktop test waits.
bool waitFor(std::function<bool()> condition, std::chrono::milliseconds longest = 10s);

/// The same, but throws std::runtime_error that names what was waited for.
void require(std::string const& what,
             std::function<bool()> condition,
             std::chrono::milliseconds longest = 10s);

} // namespace zelvo::test
