#pragma once

#include <chrono>
#include <functional>
#include <thread>

namespace zelvo::service {

/// Waits until the condition is true; false if that takes more than ten seconds.
inline bool becomes(std::function<bool()> const& condition)
{
    auto const end = std::chrono::steady_clock::now() + std::chrono::seconds(10);
    while (std::chrono::steady_clock::now() < end) {
        if (condition())
            return true;
        std::this_thread::sleep_for(std::chrono::milliseconds(5));
    }
    return condition();
}

} // namespace zelvo::service
