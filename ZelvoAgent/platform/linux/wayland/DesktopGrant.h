#pragma once

#include <functional>

namespace zelvo {

/// What the person lets this program do in their session, by the desktop's own dialog.
/// Thread: any. Made by: wayland/portal/PortalGrant, wayland/OpenGrant, tests/fakes/FakeDesktopGrant.
class DesktopGrant {
public:
    enum class State {
        unavailable, ///< the desktop has no such dialog, or it does not answer
        notAsked,
        asking,  ///< the dialog is open, or a kept grant is being taken up
        granted, ///< pictures and input
        partly,  ///< pictures, but no input
        refused,
        withdrawn, ///< the person ended it in the desktop's indicator, or the desktop did
    };

    /// What a desktop's end of the grant may come from, other than the person. Called on the agent executor;
    /// never wait.
    struct Surroundings {
        std::function<bool()> isDesktopThere = [] { return true; }; ///< the compositor runs
        std::function<bool()> isLocked = [] { return false; };      ///< the screen
    };

    virtual ~DesktopGrant() = default;
    /// Never waits.
    virtual State state() const = 0;
    /// Opens the desktop's dialog, after the person pressed our button for it. Does nothing while it is open
    /// or when all is granted.
    virtual void ask() = 0;
    /// Takes up a grant that the person gave in an earlier run, without a dialog. Does nothing if there is
    /// none.
    virtual void resume() = 0;
    /// Calls the observer on the agent executor after each change of state. Added at start and never removed.
    virtual void observe(std::function<void(State)> observer) = 0;
    /// Called once, at start.
    virtual void setSurroundings(Surroundings) {}
    /// The screen is no longer locked: takes up what the lock ended.
    virtual void noteUnlock() {}
};

} // namespace zelvo
