#pragma once

#include "platform/DrawingWatch.h"
#include "platform/ScreenSource.h"

#include <functional>
#include <optional>
#include <utility>
#include <vector>

namespace zelvo {

/// A screen on which only the test draws.
class FakeDrawingWatches final : public DrawingWatches {
public:
    std::vector<std::uint32_t> opened;           ///< the displays
    int existing = 0;                            ///< watches that exist now
    std::vector<std::set<std::string>> excluded; ///< of each opening and each look
    std::optional<ScreenFailure> failsWith;
    std::function<Task<>()> beforeOpen; ///< runs before a watch exists
    std::function<void()> onTake = [] {};

    /// A visible drawing, reported as the interface says.
    void draw(DesktopRect area)
    {
        drawings.push_back(area);
        report();
    }
    /// A drawing of which no report has arrived yet.
    void drawUnreported(DesktopRect area) { drawings.push_back(area); }
    /// A report of something that turns out to be nothing.
    void report()
    {
        if (auto const call = std::exchange(drawn, {}))
            call();
    }
    /// The number of looks.
    std::size_t looks() const { return excluded.size() - opened.size(); }

    Task<std::unique_ptr<DrawingWatch>>
    open(std::uint32_t display, std::set<std::string> without, std::function<void()> call) override
    {
        if (failsWith)
            throw *failsWith;
        opened.push_back(display);
        excluded.push_back(std::move(without));
        if (beforeOpen)
            co_await beforeOpen();
        drawings.clear();
        drawn = observer = std::move(call);
        co_return std::make_unique<Watch>(*this);
    }

private:
    class Watch final : public DrawingWatch {
    public:
        explicit Watch(FakeDrawingWatches& all) : all(all) { ++all.existing; }
        Watch(Watch const&) = delete;
        Watch& operator=(Watch const&) = delete;
        ~Watch() override
        {
            --all.existing;
            all.drawn = {};
        }
        Task<std::vector<DesktopRect>> take(std::set<std::string> without) override
        {
            if (all.failsWith)
                throw *all.failsWith;
            all.excluded.push_back(std::move(without));
            all.drawn = all.observer;
            all.onTake();
            co_return std::exchange(all.drawings, {});
        }

    private:
        FakeDrawingWatches& all;
    };

    std::function<void()> observer;
    std::function<void()> drawn; ///< empty until the next look
    std::vector<DesktopRect> drawings;
};

} // namespace zelvo
