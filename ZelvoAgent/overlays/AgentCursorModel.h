#pragma once

#include "base/Clock.h"
#include "base/DelayedCall.h"
#include "base/Geometry.h"
#include "overlays/Motion.h"

#include <boost/signals2/signal.hpp>

#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <vector>

namespace zelvo {

/// What the agent's cursor shows, and how it moves there. Thread: main.
class AgentCursorModel {
public:
    struct Ripple {
        std::string id; ///< a UUID
        DesktopPoint point;
        bool expanded = false;
        Motion growth; ///< from 0 to 1; the ripple fades as it grows
    };

    AgentCursorModel(Executor main, Clock& clock);

    /// Emitted after every change. While isMoving(), a view also draws anew by itself.
    boost::signals2::signal<void()> changed;

    /// Where the pointer stands or will stand; `nullopt` if it stands nowhere.
    std::optional<DesktopPoint> position() const { return target; }
    bool isVisible() const { return visible; }
    std::string const& name() const { return label; }
    /// What the agent does, for a moment.
    std::optional<std::string> const& activity() const { return saying; }
    std::vector<Ripple> const& ripples() const { return live; }

    /// Puts the pointer there at once; `nullopt` takes it away.
    void place(std::optional<DesktopPoint> point);
    void travel(DesktopPoint point, Duration duration, Motion::Curve curve);
    /// Ends a travel where the pointer is seen now.
    void stop();
    void fade(bool toVisible, Duration duration, Motion::Curve curve);
    void setName(std::string name);
    /// Shows rings that grow from a point.
    /// count  as many, from 1 to 3, one after the other
    void ripple(DesktopPoint at, std::int64_t count);
    void say(std::string what);

    /// What is drawn at a moment. The point is valid if there is a position.
    DesktopPoint pointAt(Instant now) const;
    double opacityAt(Instant now) const { return opacity.at(now); }
    bool isMoving(Instant now) const;
    bool isTravelling(Instant now) const;

private:
    void rippleOnce(DesktopPoint at, Duration delay);
    std::string beginRipple(DesktopPoint at);
    void endRipple(std::string const& id);

    Executor main;
    Clock& clock;
    std::optional<DesktopPoint> target;
    Motion x;
    Motion y;
    bool visible = false;
    Motion opacity;
    std::string label;
    std::optional<std::string> saying;
    std::vector<Ripple> live;
    DelayedCall activityEnd;
    std::shared_ptr<int> alive = std::make_shared<int>(); // Ripples hold it weakly.
};

} // namespace zelvo
