#pragma once

#include "platform/linux/wayland/FrameSource.h"

#include <cstdint>
#include <functional>
#include <set>
#include <string>
#include <utility>
#include <vector>

namespace zelvo {

/// A compositor's pictures: of one colour, which a test chooses. Thread: one.
class FakeFrameSource final : public FrameSource {
public:
    int width = 64;
    int height = 48;
    std::uint32_t colour = 0x112233; ///< of everything
    bool leavesOut = true;           ///< canLeaveOut()
    bool reportsDrawing = true;
    bool fails = false;
    WindowsNow inPicture; ///< what without() asks about
    std::function<void()> onTake;
    // What a test reads.
    std::vector<std::string> taken; ///< "everything" and "without"
    std::set<std::string> lastLeftOut = {};
    bool isDrawingWanted = false;

    void draw(std::uint32_t monitor)
    {
        if (isDrawingWanted && drawn)
            drawn(monitor);
    }

    Task<Picture> everything(std::uint32_t) override
    {
        taken.emplace_back("everything");
        co_return picture();
    }
    bool canLeaveOut() const override { return leavesOut; }
    Task<Picture> without(std::uint32_t, LeftOut leftOut) override
    {
        taken.emplace_back("without");
        lastLeftOut = leftOut(inPicture);
        co_return picture();
    }
    bool watchDrawing(std::function<void(std::uint32_t)> call) override
    {
        drawn = std::move(call);
        return reportsDrawing;
    }
    void setDrawingWanted(bool wanted) override { isDrawingWanted = wanted; }

private:
    Picture picture()
    {
        if (onTake)
            onTake();
        if (fails)
            throw ScreenFailure{"the fake fails"};
        Picture made{.width = width, .height = height, .stride = width * 4};
        made.pixels = PixelBuffer(static_cast<std::size_t>(made.stride) * static_cast<std::size_t>(height));
        auto* const pixels = reinterpret_cast<std::uint32_t*>(made.pixels.data());
        std::fill_n(pixels, made.pixels.size() / 4, colour);
        return made;
    }

    std::function<void(std::uint32_t)> drawn;
};

} // namespace zelvo
