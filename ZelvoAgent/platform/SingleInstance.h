#pragma once

#include <functional>
#include <string>
#include <vector>

namespace zelvo {

/// Keeps a second start of the program from running beside the first.
/// Made by: platform/linux/LinuxSingleInstance, tests/fakes/FakeSingleInstance.
class SingleInstance {
public:
    virtual ~SingleInstance() = default;

    struct Requests {
        std::function<void(std::vector<std::string> urls)> open; ///< a second start brought URLs
        std::function<void()> activate;                          ///< a second start brought nothing
    };

    /// Becomes the one instance, and calls `requests` on the main executor from then on; or hands `urls` (or,
    /// with none, the wish to come to the front) to the one that runs, and gives false. Blocks, before
    /// anything else has started.
    virtual bool claim(std::vector<std::string> urls, Requests requests) = 0;
};

} // namespace zelvo
