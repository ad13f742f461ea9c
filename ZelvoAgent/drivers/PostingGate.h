#pragma once

#include "base/AsyncCondition.h"
#include "platform/EventPosting.h"

#include <cstdint>
#include <functional>
#include <set>
#include <vector>

namespace zelvo {

/// The one gate that every event of ours passes. While the agent is paused no event can be made; while a
/// window of ours is open that only a person may answer, no key event can be made and no button event inside
/// a window of ours. An event that is refused, or that the system cannot make, releases what is held: typing,
/// chords and drags end quietly and leave nothing pressed.
/// Thread: any, one poster at a time; resumes callers on their own executors.
class PostingGate final : public EventPosting {
public:
    /// paused      read for every event; any thread
    /// ownWindows  the frames of this program's windows; read on the workers, only while the gate is closed
    PostingGate(EventPosting& inner,
                Executor workers,
                std::function<bool()> paused,
                std::function<std::vector<DesktopRect>()> ownWindows);

    /// Called before such a window opens: closes the gate, releases what is held, and resumes when the system
    /// has taken what was posted. Calls nest; each needs an open().
    Task<> close();
    void open();
    bool isClosed() const;

    Task<> ready(PostedEvent event) override;
    Task<bool> post(PostedEvent event) override;
    Task<> beginText(std::string text) override;
    Task<> endText() override;
    /// Waits for the event in flight, which might press something.
    Task<> releaseAll() override;
    Task<> drained() override;
    DesktopPoint pointerLocation() override;

private:
    class InFlight;

    Task<bool> mayPass(PostedEvent event);
    /// Waits for the events that are in flight now.
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
