#pragma once

#include "platform/InformationDictionary.h"
#include "platform/Updates.h"
#include "state/AgentState.h"
#include "state/UpdateSource.h"

#include <boost/signals2/signal.hpp>

#include <memory>
#include <optional>
#include <string>

namespace zelvo {

/// Looks for new versions of the program, if it is set up for that, and reports how that goes. Just before an
/// update is installed, it stops agents and writes a line into the activity log.
/// Thread: main.
class Updater final : private UpdateDelegate {
public:
    struct Services {
        Updates& updates;
        InformationDictionary& information;
        AgentState& state;
    };

    explicit Updater(Services services);
    Updater(Updater const&) = delete;
    Updater& operator=(Updater const&) = delete;

    /// Emitted after every change of the answers below.
    boost::signals2::signal<void()> changed;

    /// Whether the packaging gives a key that updates are signed with, "SUPublicEDKey". A package manager's
    /// program has none.
    bool isConfigured() const;
    UpdateSource source() const
    {
        return isConfigured() ? UpdateSource::itself : UpdateSource::packageManager;
    }
    /// Whether checkNow() does anything. Becomes true once, and stays so.
    bool canCheck() const { return controller != nullptr; }
    /// Why the last failed check failed, in the person's language. A later success leaves it as it is.
    std::optional<std::string> const& lastCheckFailed() const { return lastFailure; }
    UpdateProgress const& progress() const { return current; }
    /// How the last check ended without an update; `nullopt` while one runs, and before the first.
    std::optional<UpdateAbort> const& lastAbort() const { return abort; }

    /// Begins to look for updates, if this program is set up for them. Safe to repeat.
    void start();
    /// progress() reports the check at once, so that nobody takes the end of the last one for its end.
    void checkNow();
    /// Installs an update that is ready, at the end of the process. Blocks for the disk.
    void installOnQuit();

private:
    void progressed(UpdateProgress progress) override;
    void didAbort(UpdateAbort abort) override;
    void willInstallUpdateOnQuit(UpdateItem item) override;
    void confirmAtHeartbeat();

    Services services;
    std::optional<std::string> lastFailure;
    UpdateProgress current;
    std::optional<UpdateAbort> abort;
    bool isConfirmed = false;
    boost::signals2::scoped_connection stateChanges;
    std::unique_ptr<UpdateController> controller;
};

} // namespace zelvo
