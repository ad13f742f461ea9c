#include "base/DelayedCall.h"

#include <utility>

namespace zelvo {

void DelayedCall::in(Duration delay, std::function<void()> call)
{
    cancel();
    pending = std::make_shared<int>();
    task = spawn(executor,
                 [&clock = clock, delay, call = std::move(call), weak = std::weak_ptr(pending)]() -> Task<> {
                     co_await clock.sleep(delay);
                     // A cancellation may come after the time is up.
                     if (!weak.expired())
                         call();
                 });
}

void DelayedCall::cancel()
{
    pending.reset();
    task.cancel();
}

} // namespace zelvo
