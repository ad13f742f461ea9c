#pragma once

#include "app/lifecycle/Updates.h"

#include <functional>

namespace zelvo {

/// Records its calls; a test sets the answers and emits `changed`.
class FakeUpdates final : public Updates {
public:
    bool checks = false;
    std::optional<std::string> failure;
    int started = 0;
    int checked = 0;
    std::function<void()> onStart;

    bool canCheck() const override { return checks; }
    std::optional<std::string> lastCheckFailed() const override { return failure; }
    void start() override
    {
        ++started;
        if (onStart)
            onStart();
    }
    void checkNow() override { ++checked; }
};

} // namespace zelvo
