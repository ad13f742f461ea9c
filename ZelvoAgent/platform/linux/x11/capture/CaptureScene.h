#pragma once

#include "platform/linux/applications/DesktopEntries.h"
#include "platform/linux/x11/capture/CapturePlan.h"
#include "platform/linux/x11/capture/WindowWatch.h"

#include <chrono>
#include <cstddef>
#include <cstdint>
#include <functional>
#include <memory>
#include <set>
#include <string>
#include <vector>

namespace zelvo {

class X11Connection;
class WindowOwners;

/// The windows that pictures are made of, and what of them is left out. Surveys the screen only when
/// something has changed since the last picture. Thread: one at a time.
class CaptureScene {
public:
    /// entries: must outlive it
    CaptureScene(std::shared_ptr<X11Connection> server, DesktopEntries& entries);
    ~CaptureScene();

    WindowWatch& watch() { return changes; }
    /// Gives every window memory that belongs to it alone. ownWindow: pictures are made with it; it does not
    /// count
    void redirect(std::uint32_t ownWindow);
    /// Takes the newest desktop entries. Not while the server is grabbed: it may read files.
    void takeEntries();
    /// Brings the windows up to date and decides what is left out. Call with the server grabbed. True when
    /// there is a compositing manager.
    bool update(std::set<std::string> const& excluded);

    WindowSurvey const& windows() const { return survey; }
    CaptureExclusion const& exclusion() const { return leftOut; }
    /// May a compositing manager still show a window that is gone?
    bool lingers() const;
    /// How long windows that stay must be given to paint themselves over those that don't.
    std::chrono::milliseconds unsettled() const;
    /// Leaves out the parts in which they have not had that time.
    void leaveOutUnsettled();
    /// A picture was taken of what stays.
    void noteKept();

private:
    using IsNamed = std::function<bool(ClientWindow const&)>;
    /// A window that has only just appeared, where it is over one that is left out.
    struct Unsettled {
        std::size_t window = 0; ///< an index into the survey's windows
        PixelRect overlap;
        std::chrono::milliseconds left;
    };

    void surveyAnew();
    void leaveOutEmptyFrames();
    void leaveOutStalePixels();
    std::vector<WindowWatch::HiddenEmbeddedWindow> hiddenEmbedded(IsNamed const& isNamed) const;
    std::vector<Unsettled> unsettledWindows() const;

    std::shared_ptr<X11Connection> connection;
    DesktopEntries& entries;
    WindowWatch changes;
    WindowWatch::Time redirectedAt;
    std::set<std::string> lastExcluded;
    CaptureExclusion leftOut;

    // What the last survey found; it holds until the watch says otherwise.
    WindowSurvey survey;
    std::shared_ptr<DesktopEntryIndex const> index;
    std::unique_ptr<WindowOwners> owners;
};

} // namespace zelvo
