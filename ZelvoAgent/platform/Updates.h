#pragma once

#include <cstdint>
#include <memory>
#include <optional>
#include <string>

namespace zelvo {

/// A newer version of the program.
struct UpdateItem {
    std::string displayVersion;
    std::string notes; ///< what is new, in the person's language; plain text, may be empty
    bool operator==(UpdateItem const&) const = default;
};

/// Why a check ended without an update.
struct UpdateAbort {
    static constexpr int nothingFound = 1001; ///< there is no newer version, which is no failure
    static constexpr int failed = 1;
    int code = failed;
    std::string description; ///< in the person's language
};

/// How far a check is.
struct UpdateProgress {
    enum class Phase {
        idle,
        checking,
        downloading, ///< also while the download is verified and unpacked
        ready        ///< `item` is installed when the program ends
    };
    Phase phase = Phase::idle;
    UpdateItem item;
    std::int64_t receivedBytes = 0;
    std::int64_t totalBytes = 0;
    bool operator==(UpdateProgress const&) const = default;
};

/// Hears what the updates do. Thread: main.
class UpdateDelegate {
public:
    virtual ~UpdateDelegate() = default;
    virtual void progressed(UpdateProgress progress) = 0;
    virtual void didAbort(UpdateAbort abort) = 0;
    /// Called just before an update takes this program's place, at the program's end.
    virtual void willInstallUpdateOnQuit(UpdateItem item) = 0;
};

/// The running updates: checks once a day, downloads in the background. Destroying it ends a check; what was
/// downloaded is kept, and the next check continues. Thread: main.
class UpdateController {
public:
    virtual ~UpdateController() = default;
    /// Checks now. While a check runs, or an update is ready, nothing new begins.
    virtual void checkForUpdates() = 0;
    /// This version works: it has sent a heartbeat. The version before it is removed.
    virtual void confirmVersion() = 0;
    /// Calls the delegate and puts a ready update in this program's place, in one step. False if there is
    /// none or that failed, and nothing changed then. Blocks for the disk.
    virtual bool installOnQuit() = 0;
};

/// Updates of the program by its publisher.
/// Thread: main. Made by: platform/portable/updates/ArchiveUpdates, tests/fakes/FakeUpdates.
class Updates {
public:
    virtual ~Updates() = default;
    /// At the start of the one running program, before anything of its own can fail. If this version was
    /// installed by an update and could not start twice, the version before it is put back; the result is its
    /// program, to be run instead of this one.
    virtual std::optional<std::string> begin() = 0;
    /// Starts to check. The delegate outlives the controller.
    virtual std::unique_ptr<UpdateController> start(UpdateDelegate& delegate) = 0;
};

} // namespace zelvo
