// Compares the reported places of elements with the pixels on GNOME, where programs draw their own title
// bars.
#include "desktop/wayland/gnome/GnomeFixture.h"
#include "desktop/wayland/windows/SwatchFrames.h"

namespace zelvo::test {
namespace {

using Others = SwatchFrames::Others;

class FramesOnGnome : public GnomeFixture, public testing::WithParamInterface<SwatchShowing> {
protected:
    void SetUp() override
    {
        GnomeFixture::SetUp();
        if (GetParam().toolkit == Toolkit::chromium && !std::filesystem::exists("/usr/bin/chromium"))
            GTEST_SKIP() << "needs the package chromium";
    }
    void TearDown() override
    {
        loop.stop();
        GnomeFixture::TearDown();
        program.reset();
    }

    void begin()
    {
        double const scale = GetParam().scale;
        Monitor& monitor = layout.monitors[0];
        monitor.scale = scale;
        monitor.widthPixels = static_cast<int>(monitor.area.width * scale);
        monitor.heightPixels = static_cast<int>(monitor.area.height * scale);
        startGnome({.monitors = {{monitor.widthPixels, monitor.heightPixels, scale}}, .accessibility = true});
        program.emplace(SwatchFrames::Desktop{.session = *gnome,
                                              .contexts = contexts,
                                              .clock = *clock,
                                              .bus = *bus,
                                              .windows = *windows,
                                              .layout = layout,
                                              .picture = [this] { return picture(); }},
                        GetParam());
    }
    Picture picture()
    {
        return run<Picture>([this]() -> Task<Picture> { co_return co_await frames->everything(1); });
    }

    std::optional<SwatchFrames> program;
};

TEST_P(FramesOnGnome, areOnWhatIsDrawn)
{
    begin();

    program->settle(seenSwatches(GetParam()), Others::areSeen);
}

/// Chromium opens its list for a press only.
class OpenedFramesOnGnome : public FramesOnGnome {};

TEST_P(OpenedFramesOnGnome, areOnWhatIsDrawn)
{
    begin();
    program->settle({"swatch ff0000"}, Others::mayBeCovered);

    program->openMenu();

    program->settle(swatchesInMenu, Others::mayBeCovered);
}

INSTANTIATE_TEST_SUITE_P(Widgets, FramesOnGnome, testing::ValuesIn(widgetShowings()), nameOfShowing);
INSTANTIATE_TEST_SUITE_P(Pages, FramesOnGnome, testing::ValuesIn(pageShowings()), nameOfShowing);
INSTANTIATE_TEST_SUITE_P(Widgets, OpenedFramesOnGnome, testing::ValuesIn(widgetShowings()), nameOfShowing);

} // namespace
} // namespace zelvo::test
