#pragma once

#include "base/Geometry.h"
#include "base/Task.h"

#include <cstddef>
#include <cstdint>
#include <string>
#include <vector>

namespace zelvo {

/// Shows the person where the agent points and what it does. Thread: any.
class AgentCursorPresenting {
public:
    virtual ~AgentCursorPresenting() = default;
    /// Resumes when the visible cursor has arrived.
    virtual Task<> approach(DesktopPoint point) = 0;
    virtual void clicked(DesktopPoint at, std::int64_t count) = 0;
    virtual void dragged(DesktopPoint from, DesktopPoint to, std::int64_t durationMs) = 0;
    virtual void scrolled(DesktopPoint at) = 0;
    virtual void typed(std::size_t characters) = 0;
    virtual void pressed(std::vector<std::string> const& keys) = 0;
};

/// Where there is no visible cursor.
class NoAgentCursor final : public AgentCursorPresenting {
public:
    Task<> approach(DesktopPoint) override { co_return; }
    void clicked(DesktopPoint, std::int64_t) override {}
    void dragged(DesktopPoint, DesktopPoint, std::int64_t) override {}
    void scrolled(DesktopPoint) override {}
    void typed(std::size_t) override {}
    void pressed(std::vector<std::string> const&) override {}
};

} // namespace zelvo
