// Compares the reported places of elements with the pixels on KDE's compositor.
#include "desktop/wayland/kwin/KwinFixture.h"
#include "desktop/wayland/windows/SwatchFrames.h"
#include "platform/linux/wayland/kwin/KwinFrames.h"
#include "platform/linux/wayland/kwin/KwinPermissionFile.h"

#include <fstream>

namespace zelvo::test {
namespace {

using Others = SwatchFrames::Others;

class FramesOnKwin : public KwinFixture, public testing::WithParamInterface<SwatchShowing> {
protected:
    void SetUp() override
    {
        KwinFixture::SetUp();
        if (GetParam().toolkit == Toolkit::chromium && !std::filesystem::exists("/usr/bin/chromium"))
            GTEST_SKIP() << "needs the package chromium";
    }
    void TearDown() override
    {
        live.stop();
        program.reset();
        frames.reset();
        clock.dropSleepers();
        KwinFixture::TearDown();
    }

    void begin()
    {
        double const scale = GetParam().scale;
        start({.scale = scale, .isPainted = false});
        permit();
        MonitorLayout const layout{{{.id = monitorId("Virtual-0"),
                                     .name = "Virtual-0",
                                     .area = {0, 0, 1920, 1080},
                                     .widthPixels = static_cast<int>(1920 * scale),
                                     .heightPixels = static_cast<int>(1080 * scale),
                                     .scale = scale}}};
        frames.emplace(live.contexts(), *session, *windows, [layout] { return layout; });
        program.emplace(
            SwatchFrames::Desktop{
                .session = *kwin,
                .contexts = live.contexts(),
                .clock = clock,
                .bus = *session,
                .windows = *windows,
                .layout = layout,
                .picture = [this, id = layout.monitors[0].id] { return live.run(frames->everything(id)); }},
            GetParam());
    }
    void permit() const
    {
        auto const folder = kwin->dataHome() / "applications";
        std::filesystem::create_directories(folder);
        DesktopEntries entries({folder});
        std::ofstream(folder / KwinPermissionFile::fileName)
            << KwinPermissionFile(entries, std::filesystem::read_symlink("/proc/self/exe")).text();
    }

    std::optional<KwinFrames> frames;
    std::optional<SwatchFrames> program;
};

TEST_P(FramesOnKwin, areOnWhatIsDrawn)
{
    begin();

    program->settle(seenSwatches(GetParam()), Others::areSeen);
}

/// Chromium opens its list for a press only.
class OpenedFramesOnKwin : public FramesOnKwin {};

TEST_P(OpenedFramesOnKwin, areOnWhatIsDrawn)
{
    begin();
    program->settle({"swatch ff0000"}, Others::mayBeCovered);

    program->openMenu();

    program->settle(swatchesInMenu, Others::mayBeCovered);
}

INSTANTIATE_TEST_SUITE_P(Widgets, FramesOnKwin, testing::ValuesIn(widgetShowings()), nameOfShowing);
INSTANTIATE_TEST_SUITE_P(Pages, FramesOnKwin, testing::ValuesIn(pageShowings()), nameOfShowing);
INSTANTIATE_TEST_SUITE_P(Widgets, OpenedFramesOnKwin, testing::ValuesIn(widgetShowings()), nameOfShowing);

} // namespace
} // namespace zelvo::test
