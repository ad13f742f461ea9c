#pragma once

#include "desktop/app/PanelFixture.h"
#include "desktop/harness/PainterProcess.h"
#include "overlays/WorkingIndicatorController.h"

#include <cstdint>
#include <optional>
#include <string>
#include <utility>
#include <vector>

namespace zelvo::test {

/// The overlays of the whole program on a private desktop. With the parameter true a compositing manager
/// runs.
class OverlayFixture : public PanelFixture, public testing::WithParamInterface<bool> {
protected:
    struct Shown {
        std::uint32_t id = 0;
        int depth = 0;
        PaintedArea area; ///< on the root window
        std::size_t inputParts = 0;
        std::size_t shapeParts = 0;
    };
    struct Color {
        int red = 0;
        int green = 0;
        int blue = 0;
    };

    void SetUp() override;
    void TearDown() override;
    void bringUpOverlays(int dpi);
    /// Lets the cursor appear or travel there as before an agent's action; returns when it has arrived.
    void approach(DesktopPoint point);
    /// The state after an agent's action: the indicator is shown.
    void beginWork() { parts->state.markWorking(); }
    /// The overlay windows that are mapped, from back to front.
    std::vector<Shown> overlays() const;
    /// Waits until there are that many.
    bool waitForOverlays(std::size_t count);
    /// A pixel of the real screen.
    Color screenAt(int x, int y) const;
    static constexpr int backdropTint = 0x24; ///< how much more blue than red the screen has at first
    static bool isBlack(Color color) { return color.red < 40 && color.green < 40 && color.blue < 40; }
    static bool isBlue(Color color) { return color.blue > color.red + 60; }
    /// A pixel inside the pointer, a little below its tip.
    bool hasPointerAt(int x, int y) const { return isBlack(screenAt(x + 2, y + 8)); }
    /// Everything on the screen that this program's own pictures show.
    std::vector<std::uint8_t> screenshot();
    /// Everything on the real screen.
    QImage desktopPixels() const;
    /// The same, saved for inspection.
    QImage screenNow(std::string const& name) const;
    std::vector<std::uint32_t> childrenOfRoot() const;
    /// Where the real pointer is, in pixels of the root window.
    std::pair<int, int> pointerPlace() const;

    std::optional<WorkingIndicatorController> indicator;
    std::optional<PainterProcess> backdrop; ///< a light window over the whole screen
};

} // namespace zelvo::test
