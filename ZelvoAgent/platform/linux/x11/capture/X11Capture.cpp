#include "platform/linux/x11/capture/X11Capture.h"

#include "platform/linux/x11/X11Connection.h"
#include "platform/linux/x11/capture/PictureReader.h"
#include "platform/linux/x11/capture/ServerGrab.h"

#include <utility>

namespace zelvo {

X11Capture::X11Capture(std::shared_ptr<X11Connection> server, DesktopEntries& entries)
    : connection(std::move(server)), memory(std::make_shared<SharedImagePool>(connection)),
      scene(connection, entries), background(connection)
{
    scene.redirect(background.window());
}

bool X11Capture::isAlive() const
{
    return connection->isAlive();
}

CaptureResult X11Capture::take(PixelRect area, std::set<std::string> const& excluded, bool lastTry)
{
    if (!connection->isAlive())
        throw ScreenFailure{"the X server is gone"};
    scene.takeEntries();
    ServerGrab grab(connection->get());
    PictureReader reader({*connection, *memory, background, grab}, area);
    bool const compositor = scene.update(excluded);
    CaptureResult result;
    auto const wait = scene.unsettled();
    if (wait.count() > 0 && !lastTry) {
        result.wait = wait;
    } else if (!scene.exclusion().isAny() && (!compositor || (!scene.lingers() && wait.count() == 0))) {
        result.picture = reader.screen(scene.windows(), scene.exclusion());
    } else {
        result.picture = reader.composed(scene.windows(), scene.exclusion(), compositor);
    }
    scene.noteKept();
    return result;
}

} // namespace zelvo
