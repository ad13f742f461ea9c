#include "overlays/Motion.h"

#include <algorithm>

namespace zelvo {

namespace {

double eased(double part, Motion::Curve curve)
{
    switch (curve) {
    case Motion::Curve::linear:
        return part;
    case Motion::Curve::easeIn:
        return part * part;
    case Motion::Curve::easeOut:
        return part * (2 - part);
    }
    return part;
}

} // namespace

double Motion::at(Instant now) const
{
    if (hasEnded(now))
        return to;
    double const part = std::chrono::duration<double>(now - start) / std::chrono::duration<double>(duration);
    return from + (to - from) * eased(std::clamp(part, 0.0, 1.0), curve);
}

} // namespace zelvo
