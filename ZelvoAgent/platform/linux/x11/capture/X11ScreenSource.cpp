#include "platform/linux/x11/capture/X11ScreenSource.h"

#include "base/Hop.h"
#include "platform/linux/x11/capture/SharedImage.h"
#include "platform/linux/x11/capture/X11Capture.h"
#include "platform/portable/pictures/PictureScaling.h"

#include <boost/asio/strand.hpp>

namespace zelvo {

namespace {

std::vector<Display> displaysOf(std::vector<DisplayLayout> const& layouts)
{
    std::vector<Display> displays;
    displays.reserve(layouts.size());
    for (DisplayLayout const& layout : layouts)
        displays.push_back({.id = layout.displayId,
                            .widthPoints = layout.widthPixels / layout.scale,
                            .heightPoints = layout.heightPixels / layout.scale,
                            .scaleFactor = layout.scale});
    return displays;
}

/// Pictures need shared memory, redirected windows, and the owners of windows.
std::vector<std::string> lackOf(X11Connection const& connection)
{
    X11Capabilities const& can = connection.capabilities();
    std::vector<std::string> names;
    if (!can.shm)
        names.emplace_back("MIT-SHM");
    if (!can.composite)
        names.emplace_back("Composite");
    if (!can.res)
        names.emplace_back("X-Resource");
    if (!connection.hasPlainPixels())
        names.emplace_back("24-bit TrueColor");
    return names;
}

/// The server may be unable to attach our memory: it may run in another container, for instance.
bool sharesMemory(std::shared_ptr<X11Connection> const& connection)
{
    constexpr std::size_t onePixel = 4;
    return SharedImage(connection).reserve(onePixel);
}

} // namespace

X11ScreenSource::X11ScreenSource(Contexts given,
                                 Clock& clock,
                                 std::shared_ptr<X11Connection> shared,
                                 X11DisplayLayout& layout,
                                 DesktopEntries& entries)
    : contexts(std::move(given)), clock(clock), connection(std::move(shared)), layout(layout),
      strand(asio::make_strand(contexts.workers))
{
    if (!connection || connection->capabilities().xwayland || !lackOf(*connection).empty())
        return;
    // A separate connection, because a server grab blocks all connections but its own.
    std::shared_ptr<X11Connection> const own = X11Connection::open();
    if (!own || !sharesMemory(own))
        return;
    pictures = std::make_shared<X11Capture>(own, entries);
    events.emplace(contexts, own, [pictures = pictures] { pictures->watch().takeEvents(); });
}

X11ScreenSource::~X11ScreenSource() = default;

bool X11ScreenSource::canCapture() const
{
    return pictures && pictures->isAlive();
}

std::vector<std::string> X11ScreenSource::missing() const
{
    if (!connection || pictures)
        return {};
    auto names = lackOf(*connection);
    if (names.empty())
        names.emplace_back("MIT-SHM"); // The server has it, but cannot attach our memory.
    return names;
}

std::vector<Display> X11ScreenSource::screens()
{
    return displaysOf(layout.all());
}

Task<std::vector<Display>> X11ScreenSource::capturableDisplays()
{
    co_return canCapture() ? displaysOf(layout.all()) : std::vector<Display>{};
}

/// The place of the request's display, or of its part, on the root window.
PixelRect X11ScreenSource::areaOf(CaptureRequest const& request) const
{
    DisplayLayout wanted = layout.current();
    for (DisplayLayout const& one : layout.all())
        if (one.displayId == request.display) {
            wanted = one;
            break;
        }
    PixelRect const whole{wanted.origin.x, wanted.origin.y, wanted.widthPixels, wanted.heightPixels};
    if (!request.part)
        return whole;
    DisplayPart const& part = *request.part;
    PixelRect const area = PixelRect{part.x, part.y, part.width, part.height}.movedBy(whole.x, whole.y);
    // The display may have become smaller since the caller looked.
    if (area.isEmpty() || intersection(area, whole) != area)
        throw ScreenFailure{"the part is not on the display"};
    return area;
}

Task<Picture> X11ScreenSource::capture(CaptureRequest request)
{
    if (request.width < 1 || request.height < 1)
        throw ScreenFailure{"a picture needs a width and a height"};
    if (!canCapture())
        throw ScreenFailure{"the screen can't be read"};
    constexpr int tries = 4;
    for (int attempt = 1;; ++attempt) {
        auto const take = [this, &request, attempt] {
            CaptureResult result = pictures->take(areaOf(request), request.excluded, attempt == tries);
            if (result.wait.count() == 0)
                result.picture = scaled(std::move(result.picture), request.width, request.height);
            return result;
        };
        CaptureResult result = co_await on(strand, take);
        if (result.wait.count() == 0)
            co_return std::move(result.picture);
        co_await clock.sleep(result.wait);
    }
}

std::uint32_t X11ScreenSource::ownWindow() const
{
    return pictures ? pictures->ownWindow() : 0;
}

void X11ScreenSource::observeScreens(std::function<void()> observer)
{
    layout.observe(std::move(observer));
}

} // namespace zelvo
