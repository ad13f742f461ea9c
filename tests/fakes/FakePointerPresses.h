#pragma once

#include "platform/PointerPresses.h"

#include <map>
#include <utility>

namespace zelvo {

/// Reports a press when a test calls `press`.
class FakePointerPresses final : public PointerPresses {
public:
    int opened = 0; ///< observations so far

    void press(DesktopPoint point)
    {
        auto const now = observers; // An observation may end in a call.
        for (auto const& [number, pressed] : now)
            if (observers.contains(number))
                pressed(point);
    }
    std::size_t observerCount() const { return observers.size(); }

    std::unique_ptr<PressObservation> observe(std::function<void(DesktopPoint)> pressed) override
    {
        observers[++opened] = std::move(pressed);
        return std::make_unique<Observation>(*this, opened);
    }

private:
    class Observation final : public PressObservation {
    public:
        Observation(FakePointerPresses& owner, int number) : owner(owner), number(number) {}
        Observation(Observation const&) = delete;
        Observation& operator=(Observation const&) = delete;
        ~Observation() override { owner.observers.erase(number); }

    private:
        FakePointerPresses& owner;
        int number;
    };

    std::map<int, std::function<void(DesktopPoint)>> observers;
};

} // namespace zelvo
