#include "desktop/harness/WaitFor.h"

#include <stdexcept>
#include <thread>

namespace zelvo::test {

bool waitFor(std::function<bool()> condition, std::chrono::milliseconds longest)
{
    auto const deadline = std::chrono::steady_clock::now() + longest;
    auto pause = std::chrono::microseconds(500);
    while (!condition()) {
        if (std::chrono::steady_clock::now() >= deadline)
            return condition();
        std::this_thread::sleep_for(pause);
        pause = std::min(pause * 2, std::chrono::microseconds(10'000));
    }
    return true;
}

void require(std::string const& what, std::function<bool()> condition, std::chrono::milliseconds longest)
{
    if (!waitFor(std::move(condition), longest))
        throw std::runtime_error("waited in vain: " + what);
}

} // namespace zelvo::test
