#pragma once

#include "base/Clock.h"
#include "base/Task.h"

#include <functional>
#include <memory>

namespace zelvo {

/// Calls a function some time later, unless a newer call, a cancellation or its own end comes before. Thread:
/// that of its executor.
class DelayedCall {
public:
    DelayedCall(Executor executor, Clock& clock) : executor(std::move(executor)), clock(clock) {}
    DelayedCall(DelayedCall const&) = delete;
    DelayedCall& operator=(DelayedCall const&) = delete;
    ~DelayedCall() { cancel(); }

    /// Replaces an earlier call that has not come yet. `call` may set the next one.
    void in(Duration delay, std::function<void()> call);
    void cancel();

private:
    Executor executor;
    Clock& clock;
    TaskHandle task;
    std::shared_ptr<int> pending; // A task whose call was replaced finds it gone.
};

} // namespace zelvo
