#include "platform/linux/wayland/kwin/KwinFrames.h"

#include "base/Hop.h"
#include "platform/linux/wayland/kwin/KwinComposition.h"

#include <algorithm>
#include <memory>
#include <utility>

namespace zelvo {

namespace {

/// Pictures that are taken at once; each may be as large as the screen.
constexpr std::size_t batchSize = 6;
/// How often a window that changes its size is tried.
constexpr int maxTries = 3;

/// What is drawn of one window.
struct DrawnWindow {
    std::optional<KwinImage> image;
    std::optional<PixelRect> place;
};

[[noreturn]] void fail(KwinShotFailure const& failure)
{
    throw ScreenFailure{failure.isForbidden() ? "KWin does not let this program take pictures"
                                              : failure.reason};
}

Picture emptyPicture(Monitor const& monitor)
{
    Picture picture{
        .width = monitor.widthPixels, .height = monitor.heightPixels, .stride = monitor.widthPixels * 4};
    picture.pixels =
        PixelBuffer(static_cast<std::size_t>(picture.stride) * static_cast<std::size_t>(picture.height));
    return picture;
}

std::vector<KwinShot>
shotsOf(std::vector<CompositorWindow> const& windows, bool hasPointer, bool hasDecoration)
{
    std::vector<KwinShot> shots;
    for (CompositorWindow const& window : windows)
        shots.push_back({.window = window.id, .hasPointer = hasPointer, .hasDecoration = hasDecoration});
    return shots;
}

} // namespace

/// A picture that is being composed. Thread: one at a time.
struct KwinFrames::Scene {
    Monitor monitor;
    LeavesOut leavesOut;
    bool hasPointer = false;
    std::vector<CompositorWindow> kept; ///< front to back
    Picture picture;
};

KwinFrames::KwinFrames(Contexts contexts, BusConnection& session, WindowSource& windows, Layout layout)
    : contexts(contexts), windows(windows), layout(std::move(layout)), screenshots(contexts, session)
{
}

Monitor KwinFrames::findMonitor(std::uint32_t id) const
{
    MonitorLayout const now = layout();
    Monitor const* const found = now.find(id);
    if (!found || found->widthPixels < 1 || found->heightPixels < 1)
        throw ScreenFailure{"there is no such monitor"};
    return *found;
}

Task<Picture> KwinFrames::everything(std::uint32_t monitor)
{
    auto const lock = co_await turn.lock();
    Monitor const wanted = findMonitor(monitor);
    std::vector<KwinShot> shots{{.monitor = wanted.name, .hasPointer = true}};
    auto results = co_await screenshots.take(std::move(shots));
    KwinShotResult& result = results.at(0);
    if (!result.image)
        fail(result.failure);
    KwinImage& image = *result.image;
    if (image.width != wanted.widthPixels || image.height != wanted.heightPixels)
        throw ScreenFailure{"the picture has another size than the monitor"};
    co_return Picture{.width = image.width,
                      .height = image.height,
                      .stride = image.width * 4,
                      .pixels = std::move(image.pixels)};
}

Task<Picture> KwinFrames::without(std::uint32_t monitor, LeavesOut leavesOut)
{
    auto const lock = co_await turn.lock();
    Monitor const wanted = findMonitor(monitor);
    auto made = co_await compose(wanted, leavesOut, true);
    if (!made)
        made = co_await compose(wanted, leavesOut, false);
    if (!made)
        throw ScreenFailure{"the windows change too fast"};
    co_return std::move(*made);
}

Task<WindowsNow> KwinFrames::look()
{
    auto const ask = [this] { return windows.look(); };
    auto now = co_await on(contexts.workers, ask);
    if (!now)
        throw ScreenFailure{"KWin does not list its windows"};
    co_return std::move(*now);
}

/// `nullopt` if the pointer that was drawn may be a left-out application's.
Task<std::optional<Picture>> KwinFrames::compose(Monitor monitor, LeavesOut leavesOut, bool wantsPointer)
{
    WindowsNow const before = co_await look();
    KwinSelection selection = selectWindows(before, monitor.area, leavesOut);
    auto const scene = std::make_shared<Scene>();
    scene->monitor = monitor;
    scene->leavesOut = leavesOut;
    scene->hasPointer = wantsPointer && !isPointerSecret(selection, before.pointer);
    scene->kept = std::move(selection.kept);
    scene->picture = emptyPicture(monitor);
    co_await draw(scene);
    if (scene->hasPointer) {
        WindowsNow const after = co_await look();
        if (isPointerSecret(selectWindows(after, monitor.area, leavesOut), after.pointer))
            co_return std::nullopt;
    }
    co_return std::move(scene->picture);
}

Task<> KwinFrames::draw(std::shared_ptr<Scene> scene)
{
    for (std::size_t first = 0; first < scene->kept.size(); first += batchSize) {
        auto const begin = scene->kept.begin() + static_cast<std::ptrdiff_t>(first);
        auto const end = scene->kept.begin() +
                         static_cast<std::ptrdiff_t>(std::min(first + batchSize, scene->kept.size()));
        std::vector<CompositorWindow> some(begin, end);
        co_await drawSome(scene, std::move(some));
        auto const look = [&scene] { return isOpaque(scene->picture); };
        bool const isFull = co_await on(contexts.workers, look);
        if (isFull)
            co_return;
    }
}

/// Windows that change their size between list and picture are tried again, at last without what KWin draws
/// around them; then they are left out.
Task<> KwinFrames::drawSome(std::shared_ptr<Scene> scene, std::vector<CompositorWindow> some)
{
    std::vector<DrawnWindow> drawn(some.size());
    auto const isMissing = [](DrawnWindow const& one) { return !one.place; };
    for (int attempt = 0; attempt < maxTries; ++attempt) {
        if (attempt > 0)
            some = co_await newPlaces(scene, some);
        std::vector<std::size_t> open;
        std::vector<CompositorWindow> asked;
        for (std::size_t at = 0; at < some.size(); ++at)
            if (isMissing(drawn[at]) && !some[at].id.empty()) {
                open.push_back(at);
                asked.push_back(some[at]);
            }
        if (open.empty())
            break;
        auto shots = shotsOf(asked, scene->hasPointer, attempt + 1 < maxTries);
        auto results = co_await screenshots.take(std::move(shots));
        for (std::size_t at = 0; at < open.size(); ++at) {
            if (results[at].failure.isForbidden())
                fail(results[at].failure);
            DrawnWindow& one = drawn[open[at]];
            one.image = std::move(results[at].image);
            if (one.image)
                one.place = placeImage(*one.image, asked[at], scene->monitor);
        }
    }
    auto const paint = [&] {
        for (DrawnWindow const& one : drawn)
            if (one.place)
                drawBelow(scene->picture, *one.image, *one.place);
    };
    co_await on(contexts.workers, paint);
}

/// The windows as they are now; without an id if they are no longer to be drawn.
Task<std::vector<CompositorWindow>> KwinFrames::newPlaces(std::shared_ptr<Scene> scene,
                                                          std::vector<CompositorWindow> some)
{
    WindowsNow const now = co_await look();
    KwinSelection const selection = selectWindows(now, scene->monitor.area, scene->leavesOut);
    for (CompositorWindow& window : some) {
        auto const found = std::ranges::find(selection.kept, window.id, &CompositorWindow::id);
        window = found == selection.kept.end() ? CompositorWindow() : *found;
    }
    co_return some;
}

} // namespace zelvo
