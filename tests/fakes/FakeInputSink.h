#pragma once

#include "platform/linux/wayland/InputSink.h"

#include <functional>
#include <string>
#include <utility>
#include <vector>

namespace zelvo {

/// Notes what it is asked for. Thread: one.
class FakeInputSink final : public InputSink {
public:
    bool ready = true;
    bool hasKeymap = false; ///< type() works
    int failsAfter = -1;    ///< events that work; -1 for all
    std::vector<std::string> log;
    std::function<void(std::string const&)> onEvent; ///< called after each

    bool isReady() const override { return ready; }
    Task<bool> moveTo(LogicalPoint point) override
    {
        return note("move " + std::to_string(static_cast<int>(point.x)) + "," +
                    std::to_string(static_cast<int>(point.y)));
    }
    Task<bool> button(int button, bool isDown) override
    {
        return note((isDown ? "press " : "let go ") + std::to_string(button));
    }
    Task<bool> scroll(int clicksDown, int clicksRight) override
    {
        return note("wheel " + std::to_string(clicksDown) + "," + std::to_string(clicksRight));
    }
    Task<bool> key(int key, bool isDown) override
    {
        return note((isDown ? "down " : "up ") + std::to_string(key));
    }
    Task<> drained() override
    {
        log.emplace_back("drained");
        co_return;
    }
    Task<bool> type(std::string text) override
    {
        if (!hasKeymap)
            co_return false;
        co_return text.empty() || co_await note("type " + text);
    }

private:
    Task<bool> note(std::string what)
    {
        if (failsAfter == 0)
            co_return false;
        failsAfter -= failsAfter > 0;
        log.push_back(what);
        if (onEvent)
            onEvent(what);
        co_return true;
    }
};

} // namespace zelvo
