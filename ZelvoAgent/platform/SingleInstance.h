#pragma once

#include <functional>
#include <string>
#include <vector>

namespace zelvo {

/// Keeps a second start of the program from running beside the first.
/// Made by: platform/linux/dbus/LinuxSingleInstance, tests/fakes/FakeDesktop.h.
class SingleInstance {
public:
    virtual ~SingleInstance() = default;

    struct Requests {
        // False if this process is about to end.
        std::function<bool(std::vector<std::string> urls)> open; ///< a second start brought URLs
        std::function<bool()> activate;                          ///< a second start brought nothing
    };

    /// Becomes the one instance and calls `requests` on the main executor from then on. If another instance
    /// runs, passes `urls` to it (or, without URLs, asks it to come to the front) and returns false. Waits
    /// for one that is about to end, and then becomes the one instance. Blocks; called before anything else
    /// starts.
    virtual bool claim(std::vector<std::string> urls, Requests requests) = 0;
};

} // namespace zelvo
