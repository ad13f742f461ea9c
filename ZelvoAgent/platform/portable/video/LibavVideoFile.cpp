#include "platform/portable/video/LibavVideoFile.h"

#include "platform/portable/video/FrameConversion.h"
#include "platform/portable/video/VideoRewriting.h"
#include "platform/portable/video/VideoTime.h"

#include <algorithm>

namespace zelvo {

LibavVideoFile::LibavVideoFile(VideoSettings const& settings, std::unique_ptr<VideoEncoder> given)
    : place(settings.file), encoder(std::move(given)),
      keep([this](AVPacket& packet) { return video->write(packet); })
{
    try {
        video.emplace(place.file(), encoder->stream(),
                      videoTicksPerSecond / std::max(settings.expectedFrameRate, 1));
    } catch (VideoFailure const&) {
        place.remove();
        throw;
    }
}

LibavVideoFile::~LibavVideoFile() = default;

bool LibavVideoFile::append(Picture const& picture, Duration time)
{
    if (!video || failed)
        return false;
    if (!first)
        first = time;
    repeatUntil(time);
    AVFrame* const frame = failed ? nullptr : encoder->frame();
    failed = !frame || !convertPicture(picture, *frame);
    return encode(ticksSinceFirst(time));
}

bool LibavVideoFile::repeat(Duration time)
{
    if (!video || failed || accepted == 0)
        return false;
    repeatUntil(time);
    failed = failed || !encoder->frame();
    return encode(ticksSinceFirst(time));
}

/// Keeps every frame within maxFrame.
void LibavVideoFile::repeatUntil(Duration time)
{
    while (!failed && accepted > 0 && ticksSinceFirst(time) - last > maxFrame) {
        failed = !encoder->frame();
        encode(last + maxFrame);
    }
}

bool LibavVideoFile::encode(std::int64_t ticks)
{
    if (failed)
        return false;
    ticks = std::max(ticks, last + shortestFrame);
    failed = !encoder->encode(ticks, keep);
    if (failed)
        return false;
    last = ticks;
    ++accepted;
    return true;
}

std::int64_t LibavVideoFile::ticksSinceFirst(Duration time) const
{
    return videoTicks(time - *first);
}

bool LibavVideoFile::finish(Duration end)
{
    if (!video)
        return false;
    repeatUntil(end);
    bool const whole = (failed || encoder->drain(keep)) && video->packets() >= accepted;
    encoder.reset();
    if (video->packets() == 0) {
        cancel();
        return false;
    }
    GrownVideo const grown{.packets = video->packets(),
                           .keyPackets = video->keyPackets(),
                           .end = std::max(ticksSinceFirst(end), last + 1)};
    video->close();
    video.reset();
    auto const fill = [&](int target) { return rewriteVideo(place.file(), target, grown); };
    return place.replace(fill) && whole;
}

void LibavVideoFile::cancel()
{
    encoder.reset();
    video.reset();
    place.remove();
}

} // namespace zelvo
