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

/// The windows of a picture, and what is left out of them. Surveys the screen only if something has changed
/// since the last picture. Thread: one at a time.
class CaptureScene {
public:
    /// entries  must outlive it
    CaptureScene(std::shared_ptr<X11Connection> server, DesktopEntries& entries);
    ~CaptureScene();

    WindowWatch& watch() { return changes; }
    /// Redirects every window into separate memory.
    /// ownWindow  the window used while taking pictures; changes of it are ignored
    void redirect(std::uint32_t ownWindow);
    /// Loads the newest desktop entries. Not while the server is grabbed: it may read files.
    void takeEntries();
    /// Updates the windows and decides what is left out. Call it with the server grabbed. True if a
    /// compositing manager runs.
    bool update(std::set<std::string> const& excluded);

    WindowSurvey const& windows() const { return survey; }
    CaptureExclusion const& exclusion() const { return leftOut; }
    /// Whether a compositing manager may still show a closed window.
    bool lingers() const;
    /// How long to wait for windows whose pixels are gone: they were cleaned or newly redirected. A picture
    /// taken earlier shows less of them, but nothing of hidden ones.
    std::chrono::milliseconds unsettled() const;
    /// A picture of the remaining windows was taken.
    void noteKept();

private:
    using IsNamed = std::function<bool(ClientWindow const&)>;
    void surveyAnew();
    void markOverlaps();
    bool hidesKept() const;
    bool mayBeSeen(std::uint32_t window) const;
    void cleanStaleWindows(std::vector<WindowWatch::HiddenEmbeddedWindow> const& embedded);
    std::vector<WindowWatch::HiddenEmbeddedWindow> hiddenEmbedded(IsNamed const& isNamed) const;

    std::shared_ptr<X11Connection> connection;
    DesktopEntries& entries;
    WindowWatch changes;
    WindowWatch::Time redirectedAt;
    WindowWatch::Time cleanedAt;
    std::set<std::string> lastExcluded;
    CaptureExclusion leftOut;

    // Result of the last survey; valid until the watch reports a change.
    WindowSurvey survey;
    std::shared_ptr<DesktopEntryIndex const> index;
    std::unique_ptr<WindowOwners> owners;
};

} // namespace zelvo
