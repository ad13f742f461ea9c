#pragma once

#include <boost/signals2/signal.hpp>

#include <optional>
#include <string>

namespace zelvo {

/// Looks for new versions of the program and installs them.
/// Thread: main. Made by: app/lifecycle/NoUpdates, tests/fakes/FakeUpdates.
class Updates {
public:
    virtual ~Updates() = default;

    /// Emitted after every change of the answers below.
    boost::signals2::signal<void()> changed;

    /// Whether checkNow() does anything. Becomes true once, and stays so.
    virtual bool canCheck() const = 0;
    /// Why the last failed check failed, in the person's language. A later success leaves it as it is.
    virtual std::optional<std::string> lastCheckFailed() const = 0;
    /// Begins to look for updates, if this program is set up for them. Safe to repeat.
    virtual void start() = 0;
    /// Looks for an update at once and shows what it finds.
    virtual void checkNow() = 0;
};

} // namespace zelvo
