#pragma once

#include "platform/linux/x11/X11Connection.h"
#include "platform/linux/x11/windows/WindowSurvey.h"

#include <chrono>
#include <memory>
#include <mutex>

namespace zelvo {

/// The windows of the server for looks that follow each other at once, as those before a click do: they share
/// one survey. Thread: any; a second caller waits for the first one's survey.
class RecentSurvey {
public:
    /// Between a look and the event that rests on it as much time passes anyway.
    static constexpr std::chrono::milliseconds ordinaryAge{3};

    /// connection  null when the server can't be reached
    /// oldest      no survey is given out later than this after it was begun; zero: each look has its own
    explicit RecentSurvey(std::shared_ptr<X11Connection> connection,
                          std::chrono::milliseconds oldest = ordinaryAge);

    /// Null when the server is gone.
    std::shared_ptr<WindowSurvey const> look();

private:
    std::shared_ptr<X11Connection> connection;
    std::chrono::milliseconds oldest;
    std::mutex mutex;
    std::shared_ptr<WindowSurvey const> last; // Guarded, as begunAt is.
    std::chrono::steady_clock::time_point begunAt;
};

} // namespace zelvo
