#pragma once

#include "base/Task.h"
#include "platform/linux/wayland/WindowSource.h"

#include <boost/asio/post.hpp>

#include <algorithm>
#include <string>
#include <utility>
#include <vector>

namespace zelvo {

/// A compositor with the windows that a test gives it. Thread: one.
class FakeWindowSource final : public WindowSource {
public:
    /// agent  where changes are reported
    explicit FakeWindowSource(Executor agent) : agent(std::move(agent)) {}

    WindowsNow now;               ///< back to front
    bool answers = true;          ///< look() has an answer
    bool obeys = true;            ///< requests are carried out
    int looks = 0;                ///< how often look() was called
    std::vector<std::string> log; ///< "activate ID" and "front ID"
    std::function<void()> onLook; ///< called before each answer

    CompositorWindow& add(CompositorWindow window) { return now.windows.emplace_back(std::move(window)); }
    CompositorWindow& window(std::string const& id)
    {
        return *std::ranges::find(now.windows, id, &CompositorWindow::id);
    }
    void remove(std::string const& id)
    {
        std::erase_if(now.windows, [&](CompositorWindow const& window) { return window.id == id; });
    }
    /// Reports a change of the windows.
    void change()
    {
        if (observer)
            asio::post(agent, observer);
    }

    std::optional<WindowsNow> look() override
    {
        ++looks;
        if (onLook)
            onLook();
        return answers ? std::optional(now) : std::nullopt;
    }
    void observe(std::function<void()> changed) override { observer = std::move(changed); }
    bool activate(std::string const& id) override
    {
        log.push_back("activate " + id);
        return bring(id);
    }
    bool putInFront(std::string const& id) override
    {
        log.push_back("front " + id);
        return bring(id);
    }

private:
    bool bring(std::string const& id)
    {
        auto const found = std::ranges::find(now.windows, id, &CompositorWindow::id);
        if (!obeys || found == now.windows.end())
            return false;
        for (CompositorWindow& each : now.windows)
            each.isActive = each.id == id;
        found->isMinimized = false;
        found->isOnScreen = true;
        std::rotate(found, found + 1, now.windows.end());
        change();
        return true;
    }

    Executor agent;
    std::function<void()> observer;
};

} // namespace zelvo
