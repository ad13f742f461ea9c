#pragma once

#include "base/AsyncCondition.h"
#include "platform/EventPosting.h"

#include <cstdint>
#include <functional>
#include <set>
#include <vector>

namespace zelvo {

/// Every event that we post passes this gate. While the agent is paused, no event passes. While a window of
/// ours is open that only a person may answer, no key event passes, and no button event inside our windows.
/// If an event is refused, or the system cannot make it, all held keys and buttons are released: typing,
/// chords and drags then end without an error and leave nothing pressed. Thread: any, one poster at a time;
/// resumes callers on their own executors.
class PostingGate final : public EventPosting {
public:
    /// paused      called for every event; any thread
    /// ownWindows  returns the frames of this program's windows; called on the workers while the gate is
    /// closed
    PostingGate(EventPosting& inner,
                Executor workers,
                std::function<bool()> paused,
                std::function<std::vector<DesktopRect>()> ownWindows);

    /// Call before such a window opens. Closes the gate, releases all held keys and buttons, and resumes when
    /// the system has processed all posted events. Calls nest; each needs an open().
    Task<> close();
    void open();
    bool isClosed() const;

    Task<> ready(PostedEvent event) override;
    Task<bool> post(PostedEvent event) override;
    Task<> beginText(std::string text) override;
    Task<> endText() override;
    /// Waits for the events in flight first, because they might press something.
    Task<> releaseAll() override;
    Task<> drained() override;
    DesktopPoint pointerLocation() override;

private:
    class InFlight;

    Task<bool> mayPass(PostedEvent event);
    /// Waits for the events that are in flight at the call.
    Task<> untilIdle();

    EventPosting& inner;
    Executor workers;
    std::function<bool()> paused;
    std::function<std::vector<DesktopRect>()> ownWindows;
    AsyncCondition idle;
    int closings = 0;                 // idle
    std::set<std::uint64_t> inFlight; // idle; events by number
    std::uint64_t lastEvent = 0;      // idle
};

} // namespace zelvo
