#pragma once

#include "platform/InterfaceWatch.h"

#include <map>
#include <utility>

namespace zelvo {

/// Interfaces of which only the test reports changes.
class FakeInterfaceWatches final : public InterfaceWatches {
public:
    int opened = 0;
    std::function<void()> onOpen = [] {};
    std::function<Task<>()> beforeOpen; ///< runs before a watch exists

    std::size_t existing() const { return observers.size(); }
    /// Reports a change to every watch.
    void change(std::int32_t pid, InterfaceChange what = InterfaceChange::elements)
    {
        for (auto const& [number, changed] : observers)
            changed(pid, what);
    }

    Task<std::unique_ptr<InterfaceWatch>> open(Changed changed) override
    {
        onOpen();
        if (beforeOpen)
            co_await beforeOpen();
        observers[++opened] = std::move(changed);
        co_return std::make_unique<Watch>(*this, opened);
    }

private:
    class Watch final : public InterfaceWatch {
    public:
        Watch(FakeInterfaceWatches& all, int number) : all(all), number(number) {}
        Watch(Watch const&) = delete;
        Watch& operator=(Watch const&) = delete;
        ~Watch() override { all.observers.erase(number); }

    private:
        FakeInterfaceWatches& all;
        int number;
    };

    std::map<int, Changed> observers; ///< of the watches that exist
};

} // namespace zelvo
