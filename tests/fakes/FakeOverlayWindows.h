#pragma once

#include "platform/OverlayWindows.h"

#include <algorithm>

namespace zelvo {

/// Overlay windows in memory.
class FakeOverlayWindows final : public OverlayWindows {
public:
    class Window final : public OverlayWindow {
    public:
        Window(FakeOverlayWindows& owner, Layer layer) : layer(layer), owner(owner)
        {
            owner.windows.push_back(this);
        }
        Window(Window const&) = delete;
        Window& operator=(Window const&) = delete;
        ~Window() override { std::erase(owner.windows, this); }

        void show(DesktopPoint at, OverlayPicture shown) override
        {
            place = at;
            picture = std::move(shown);
            ++pictures;
        }
        void move(DesktopPoint at) override
        {
            place = at;
            ++moves;
        }

        Layer layer;
        std::optional<DesktopPoint> place;
        OverlayPicture picture;
        int pictures = 0;
        int moves = 0;

    private:
        FakeOverlayWindows& owner;
    };

    std::optional<MainDisplay> display = MainDisplay{.width = 1512, .height = 982, .scale = 1};
    std::vector<Window*> windows; ///< those that are open
    int opened = 0;

    std::optional<MainDisplay> mainDisplay() const override { return display; }
    std::unique_ptr<OverlayWindow> open(Layer layer) override
    {
        ++opened;
        return std::make_unique<Window>(*this, layer);
    }
    /// The open windows of a layer.
    std::vector<Window*> on(Layer layer) const
    {
        std::vector<Window*> found;
        std::ranges::copy_if(windows, std::back_inserter(found),
                             [layer](Window const* one) { return one->layer == layer; });
        return found;
    }
};

} // namespace zelvo
