#pragma once

#include "desktop/harness/XQuestions.h"

#include <chrono>
#include <cstdint>
#include <string>

namespace zelvo {

/// Presses a button of the mouse without an agent, and follows what is drawn on the display then.
class DrawingLog {
public:
    explicit DrawingLog(std::string const& display);

    /// Clicks at a pixel and waits until nothing was drawn for that long. Returns the seconds from the press
    /// to the last drawing. Throws std::runtime_error if nothing was drawn.
    double click(int x, int y, std::chrono::milliseconds rest);

private:
    using Moment = std::chrono::steady_clock::time_point;

    void press(int x, int y);
    /// Whether something was drawn until `end`; returns after the first drawing.
    bool awaitDrawing(Moment end);

    test::XConnection connection;
    std::uint8_t damageEvent = 0;
};

} // namespace zelvo
