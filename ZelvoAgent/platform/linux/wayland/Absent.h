#pragma once

#include "platform/HotKey.h"
#include "platform/OverlayWindows.h"
#include "platform/PointerPresses.h"
#include "platform/linux/wayland/FrameSource.h"
#include "platform/linux/wayland/LendableClipboard.h"

#include <memory>

namespace zelvo {

// What stands for the parts that a compositor does not offer. A permission row says so to the person.

class AbsentHotKey final : public HotKey {
public:
    void start(std::function<void()>) override {}
};

/// A clipboard that stays empty.
class AbsentPasteboard final : public LendableClipboard {
public:
    std::int64_t changeCount() const override { return 0; }
    Task<std::vector<ClipboardChange>> changesAfter(std::int64_t) override
    {
        co_return std::vector<ClipboardChange>();
    }
    Task<std::string> text() override { co_return std::string(); }
    Task<bool> setText(std::string) override { co_return false; }
    Task<> handOver() override { co_return; }
    Task<std::optional<ClipboardForms>> keep() override { co_return std::nullopt; }
    Task<bool> lend(std::string) override { co_return false; }
    std::optional<std::uint64_t> readings() const override { return std::nullopt; }
    Task<bool> waitForReading(std::uint64_t, Duration) override { co_return false; }
    Task<bool> putBack(ClipboardForms) override { co_return false; }
};

/// No compositor reports presses in the windows of others.
class AbsentPresses final : public PointerPresses {
public:
    std::unique_ptr<PressObservation> observe(std::function<void(DesktopPoint)>) override
    {
        return std::make_unique<PressObservation>();
    }
};

class AbsentOverlays final : public OverlayWindows {
public:
    std::optional<MainDisplay> mainDisplay() const override { return std::nullopt; }
    std::unique_ptr<OverlayWindow> open(Layer) override { return std::make_unique<Window>(); }

private:
    class Window final : public OverlayWindow {
    public:
        void show(DesktopPoint, OverlayPicture) override {}
        void move(DesktopPoint) override {}
    };
};

class AbsentFrames final : public FrameSource {
public:
    Task<Picture> everything(std::uint32_t) override { return fail(); }
    bool canLeaveOut() const override { return false; }
    Task<Picture> without(std::uint32_t, LeftOut) override { return fail(); }
    bool watchDrawing(std::function<void(std::uint32_t)>) override { return false; }
    void setDrawingWanted(bool) override {}

private:
    static Task<Picture> fail()
    {
        throw ScreenFailure{"the compositor gives no pictures"};
        co_return Picture{};
    }
};

} // namespace zelvo
