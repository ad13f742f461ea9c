#include "platform/linux/x11/windows/RecentSurvey.h"

namespace zelvo {

using std::chrono::steady_clock;

RecentSurvey::RecentSurvey(std::shared_ptr<X11Connection> connection, std::chrono::milliseconds oldest)
    : connection(std::move(connection)), oldest(oldest)
{
}

std::shared_ptr<WindowSurvey const> RecentSurvey::look()
{
    if (!connection)
        return nullptr;
    std::scoped_lock const lock(mutex);
    auto const now = steady_clock::now();
    if (last && now - begunAt < oldest)
        return last;
    auto const taken = std::make_shared<WindowSurvey const>(surveyWindows(*connection));
    last = connection->isAlive() ? taken : nullptr;
    begunAt = now;
    return last;
}

} // namespace zelvo
