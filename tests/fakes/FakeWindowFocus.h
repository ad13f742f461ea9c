#pragma once

#include "platform/WindowFocus.h"

#include <algorithm>
#include <string>
#include <vector>

namespace zelvo {

/// A window manager that carries out requests at once, unless a test sets isDeaf.
class FakeWindowFocus final : public WindowFocus {
public:
    std::vector<std::uint32_t> onScreen; ///< in focus order; the last one has the keyboard focus
    std::vector<std::string> log;
    bool isDeaf = false; ///< requests have no effect
    bool keyIsDown = false;

    void open(std::uint32_t window) { toTheEnd(window); }
    void close(std::uint32_t window) { std::erase(onScreen, window); }

    std::uint32_t activeWindow() override { return onScreen.empty() ? 0 : onScreen.back(); }
    std::uint32_t idOf(OwnWindow const& window) override { return window.nativeId; }
    void putInFront(std::uint32_t window, std::uint32_t over) override
    {
        log.push_back("front " + std::to_string(window) + " over " + std::to_string(over));
        toTheEnd(window);
    }
    void activate(std::uint32_t window) override
    {
        log.push_back("activate " + std::to_string(window));
        if (!isDeaf && std::ranges::find(onScreen, window) != onScreen.end())
            toTheEnd(window);
    }
    bool isKeyDown() override { return keyIsDown; }
    WindowStanding standing(std::uint32_t window) override
    {
        bool const there = std::ranges::find(onScreen, window) != onScreen.end();
        return {.exists = there, .isOnScreen = there, .hasKeyboard = there && activeWindow() == window};
    }

private:
    void toTheEnd(std::uint32_t window)
    {
        std::erase(onScreen, window);
        onScreen.push_back(window);
    }
};

} // namespace zelvo
