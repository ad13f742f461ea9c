#include "platform/linux/x11/capture/X11ScreenStreams.h"

#include "base/Hop.h"
#include "platform/linux/x11/capture/X11ChangeDetector.h"
#include "platform/portable/streams/PacedScreenStream.h"

#include <algorithm>

namespace zelvo {

X11ScreenStreams::X11ScreenStreams(Contexts contexts, Clock& clock, X11ScreenSource& source)
    : contexts(std::move(contexts)), clock(clock), source(source)
{
}

Task<std::unique_ptr<ScreenStream>>
X11ScreenStreams::open(ScreenStreamRequest request, Executor queue, std::weak_ptr<ScreenStreamOutput> output)
{
    if (request.picture.width < 1 || request.picture.height < 1)
        throw ScreenFailure{"a picture needs a width and a height"};
    auto const displays = co_await source.capturableDisplays();
    if (std::ranges::find(displays, request.picture.display, &Display::id) == displays.end())
        throw ScreenFailure{"the display can't be read"};
    PacedStreamParts parts{
        .contexts = contexts, .clock = clock, .source = source, .openChanges = [own = source.ownWindow()] {
            return X11ChangeDetector::open(own);
        }};
    auto changes = co_await on(contexts.workers, parts.openChanges);
    if (!changes)
        throw ScreenFailure{"the X server does not tell what changes"};
    co_return std::make_unique<PacedScreenStream>(std::move(parts), std::move(changes), std::move(request),
                                                  std::move(queue), std::move(output));
}

} // namespace zelvo
