#pragma once

#include "app/AgentParts.h"
#include "app/ConsentPresenter.h"
#include "app/Termination.h"
#include "base/Contexts.h"
#include "platform/Platform.h"

#include <functional>
#include <optional>
#include <string>
#include <vector>

namespace zelvo {

/// The life of the program: starts everything in its order, takes link URLs, and finishes what has to be
/// finished before the process may end. Thread: main.
class AppDelegate {
public:
    /// quit: ends the event loop.
    AppDelegate(Contexts contexts, Platform& platform, std::function<void()> quit);

    /// Starts the agent. Once a process.
    void start();
    /// Begins a link for each URL that is one; before start() the last of them waits for it.
    void open(std::vector<std::string> const& urls);
    /// Shows the program to a person who started it a second time.
    void bringToFront();
    /// Asks for the end of the process: `quit` is called now, or when an open recording is closed.
    void terminate();
    /// Ends the link, takes back what was changed in other applications, hands the clipboard over and writes
    /// what is left to write. Takes two seconds, in which the main thread does nothing else.
    void willTerminate();

private:
    void handlePendingLinkIfNeeded();

    Contexts contexts;
    Platform& platform;
    AgentParts parts;
    ConsentPresenter consent;
    std::function<void()> quit;
    Termination termination;
    std::optional<std::string> pendingLinkToken;
    bool hasStarted = false;
};

} // namespace zelvo
