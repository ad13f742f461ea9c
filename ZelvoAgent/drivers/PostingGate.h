#pragma once

#include "base/AsyncCondition.h"
#include "drivers/FrontWatch.h"
#include "platform/EventPosting.h"

#include <atomic>
#include <cstdint>
#include <functional>
#include <optional>
#include <set>
#include <vector>

namespace zelvo {

/// Every event that we post passes this gate. While the agent is paused, no event passes. While a window of
/// ours is open that only a person may answer, no key event passes, and no button event inside our windows;
/// no event at all where the desktop does not say where our windows are. No key event passes while a hidden
/// application or a window of ours is in front, and an action that runs when one comes to the front makes no
/// further event but moves of the pointer. If an event is refused, or the system cannot make it, all held
/// keys and buttons are released: typing, chords and drags then end without an error and leave nothing
/// pressed. Thread: any, one poster at a time; resumes callers on their own executors.
class PostingGate final : public EventPosting {
public:
    /// paused      called for every event; any thread
    /// ownWindows  returns the frames of this program's windows; called on the workers while the gate is
    /// closed
    PostingGate(EventPosting& inner,
                Executor workers,
                std::function<bool()> paused,
                std::function<std::vector<DesktopRect>()> ownWindows);

    /// Set at start and never changed; without it the gate does not look at what is in front.
    void watch(FrontWatch& watched) { front = &watched; }
    /// Finds where a held button may be let go, from where the pointer is; `nullopt` for right there. Set at
    /// start and never changed; without it buttons are let go where they are.
    using FindRelease = std::function<Task<std::optional<DesktopPoint>>(DesktopPoint at)>;
    void setFindRelease(FindRelease find) { findRelease = std::move(find); }
    /// Call before the checks of an action: what comes to the front from then on ends it.
    Task<> beginAction();

    /// Call before such a window opens. Closes the gate, releases all held keys and buttons, and resumes when
    /// the system has processed all posted events. Calls nest; each needs an open().
    Task<> close();
    void open();
    bool isClosed() const;
    /// Runs what acts on the application in front without an event, under the rules of a key event; close()
    /// waits for its end. False, with nothing run, if a key would not pass.
    Task<bool> run(std::function<Task<>()> deed);

    Task<> ready(PostedEvent event) override;
    Task<bool> post(PostedEvent event) override;
    Task<> beginText(std::string text) override;
    Task<> endText() override;
    /// Waits for the events in flight first, because they might press something.
    Task<> releaseAll() override;
    Task<> drained() override;
    Task<bool> delivered() override;
    DesktopPoint pointerLocation() override;

private:
    class InFlight;

    Task<bool> mayPass(PostedEvent event);
    /// Whether the action was made for what is in front, as far as the event depends on that.
    Task<bool> isForThisFront(PostedEvent event);
    void note(PostedEvent const& event);
    /// Releases everything that is held.
    Task<> letGo();
    /// Waits for the events that are in flight at the call.
    Task<> untilIdle();

    EventPosting& inner;
    Executor workers;
    std::function<bool()> paused;
    std::function<std::vector<DesktopRect>()> ownWindows;
    FrontWatch* front = nullptr;
    std::atomic<std::uint64_t> barringsBefore = 0; ///< the action
    FindRelease findRelease;
    struct Pointer {
        std::set<MouseButton> held;
        DesktopPoint at;
    };
    LockedBox<Pointer> pointer; ///< by our own events
    AsyncCondition idle;
    int closings = 0;                 // idle
    std::set<std::uint64_t> inFlight; // idle; events by number
    std::uint64_t lastEvent = 0;      // idle
};

} // namespace zelvo
