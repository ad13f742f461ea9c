#pragma once

#include "base/Clock.h"

namespace zelvo {

/// A number on its way from one value to another.
struct Motion {
    enum class Curve { linear, easeIn, easeOut };

    double from = 0;
    double to = 0;
    Instant start{};
    Duration duration{};
    Curve curve = Curve::linear;

    double at(Instant now) const;
    bool hasEnded(Instant now) const { return now >= start + duration; }
};

} // namespace zelvo
