#include "app/OwnWindows.h"

#include "base/Hop.h"

#include <QWidget>

namespace zelvo {

namespace {

constexpr Duration maxWait = 1s;
constexpr Duration lookEvery = 50ms;

/// False if the display server does not show the window yet.
bool raise(WindowFocus& focus, OwnWindow const& window, Raising raising)
{
    std::uint32_t const id = focus.idOf(window);
    if (!id)
        return false;
    if (raising == Raising::keptAbove)
        focus.putInFront(id, 0);
    else
        focus.activate(id);
    return true;
}

} // namespace

OwnWindow ownWindowOf(QWidget const& window)
{
    return {static_cast<std::uint32_t>(window.winId()), window.windowTitle().toStdString()};
}

void raiseWindow(AppServices const& services, QWidget const& window, Raising raising)
{
    spawn(services.contexts.agent,
          [&platform = services.platform, workers = services.contexts.workers, own = ownWindowOf(window),
           raising]() -> Task<> {
              Instant const end = platform.clock().now() + maxWait;
              while (!co_await on(workers, [&] { return raise(platform.focus(), own, raising); }) &&
                     platform.clock().now() < end)
                  co_await platform.clock().sleep(lookEvery);
          });
}

} // namespace zelvo
