#pragma once

#include "app/AgentParts.h"
#include "app/ConsentPresenter.h"
#include "app/LinkIntake.h"
#include "app/Termination.h"
#include "app/UserInterface.h"
#include "app/lifecycle/AppMover.h"
#include "app/lifecycle/Relaunch.h"
#include "app/lifecycle/Updater.h"
#include "base/Contexts.h"
#include "overlays/WorkingIndicatorController.h"
#include "platform/Platform.h"

#include <functional>
#include <optional>
#include <string>
#include <vector>

namespace zelvo {

/// The program's life cycle: starts everything in order, takes link URLs, and finishes what must be finished
/// before the process may end. Thread: main.
class AppDelegate {
public:
    /// quit  ends the event loop
    AppDelegate(Contexts contexts, Platform& platform, std::function<void()> quit);

    /// Starts the agent, and asks about a program that runs from a wrong place. Called once.
    void start();
    /// Starts linking for a link URL, one at a time; before start() the last of them is kept until then.
    /// False, and nothing is started, once the process is about to end.
    bool open(std::vector<std::string> const& urls);
    /// Brings the program to the front after a second start. False once the process is about to end.
    bool bringToFront();
    /// Requests the end of the process: calls `quit` now, or once an open recording is closed.
    void terminate();
    /// Closes an open recording and returns once it is closed, after a minute at most. The event loop keeps
    /// running. For a session that asks before it ends; its end may still be cancelled.
    void closeRecording();
    /// Ends the link, reverts changes in other applications, hands the clipboard over and writes pending
    /// settings. Takes two seconds, in which the main thread does nothing else and nothing is on the screen.
    void willTerminate();

private:
    void startAgent();
    void handlePendingLinkIfNeeded();
    void restartIntoUpdate(std::function<void()> failed);
    void leaveScreen();

    Contexts contexts;
    Platform& platform;
    AgentParts parts;
    LinkIntake intake;
    ConsentPresenter consent;
    WorkingIndicatorController indicator;
    std::function<void()> quit;
    Termination termination;
    Updater updater;
    Relaunch relaunch;
    AppMover mover;
    UserInterface ui;
    std::optional<std::string> pendingLinkToken;
    bool hasStarted = false;
    bool isEnding = false;
};

} // namespace zelvo
