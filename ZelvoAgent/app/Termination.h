#pragma once

#include "base/Task.h"
#include "recording/SessionRecording.h"

#include <functional>

namespace zelvo {

/// Decides whether the process may end now or closes an open recording first. Thread: main.
class Termination {
public:
    enum class Reply { terminateNow, terminateLater };

    /// terminate: ends the process; called once after a `terminateLater`.
    Termination(Executor main, SessionRecording& recorder, std::function<void()> terminate);

    Reply shouldTerminate();

private:
    Executor main;
    SessionRecording& recorder;
    std::function<void()> terminate;
    bool isFinishing = false;
};

} // namespace zelvo
