#include "app/Termination.h"

namespace zelvo {

Termination::Termination(Executor main, SessionRecording& recorder, std::function<void()> terminate)
    : main(std::move(main)), recorder(recorder), terminate(std::move(terminate))
{
}

Termination::Reply Termination::shouldTerminate()
{
    if (isFinishing)
        return Reply::terminateLater;
    if (!recorder.hasOpenFile())
        return Reply::terminateNow;
    isFinishing = true;
    spawn(main, [this]() -> Task<> {
        co_await recorder.finishNow(true);
        terminate();
    });
    return Reply::terminateLater;
}

} // namespace zelvo
