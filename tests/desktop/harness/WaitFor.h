#pragma once

#include <chrono>
#include <functional>
#include <string>

namespace zelvo::test {

using namespace std::chrono_literals;

/// Polls until the condition is true; false after `longest`. The only place where a desktop test waits.
bool waitFor(std::function<bool()> condition, std::chrono::milliseconds longest = 20s);

/// The same, but throws std::runtime_error that contains `what`.
void require(std::string const& what,
             std::function<bool()> condition,
             std::chrono::milliseconds longest = 20s);

} // namespace zelvo::test
