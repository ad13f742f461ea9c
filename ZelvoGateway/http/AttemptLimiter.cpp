#include "ZelvoGateway/http/AttemptLimiter.h"

#include <algorithm>

namespace zelvo::service {

std::optional<Duration> AttemptLimiter::count(std::string const& address)
{
    Instant const now = clock.now();
    if (!windows.contains(address))
        makeRoom();
    Window& window = windows[address];
    if (window.attempts == 0 || now - window.began >= rules.window)
        window = {.began = now};
    if (++window.attempts <= rules.maxAttempts)
        return std::nullopt;
    return window.began + rules.window - now;
}

void AttemptLimiter::makeRoom()
{
    if (windows.size() < rules.maxAddresses)
        return;
    std::erase_if(windows,
                  [&](auto const& entry) { return clock.now() - entry.second.began >= rules.window; });
    if (windows.size() >= rules.maxAddresses)
        windows.erase(
            std::ranges::min_element(windows, {}, [](auto const& entry) { return entry.second.began; }));
}

} // namespace zelvo::service
