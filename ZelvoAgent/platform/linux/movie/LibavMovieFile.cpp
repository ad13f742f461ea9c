#include "platform/linux/movie/LibavMovieFile.h"

#include "platform/linux/movie/FilmRewriting.h"
#include "platform/linux/movie/FilmTime.h"
#include "platform/linux/movie/FrameConversion.h"

#include <algorithm>

namespace zelvo {

LibavMovieFile::LibavMovieFile(MovieSettings const& settings, std::unique_ptr<FilmEncoder> given)
    : place(settings.file), encoder(std::move(given)),
      keep([this](AVPacket& packet) { return film->write(packet); })
{
    try {
        film.emplace(place.file(), encoder->stream(),
                     filmTicksPerSecond / std::max(settings.expectedFrameRate, 1));
    } catch (MovieFailure const&) {
        place.remove();
        throw;
    }
}

LibavMovieFile::~LibavMovieFile() = default;

bool LibavMovieFile::append(Picture const& picture, Duration time)
{
    if (!film || failed)
        return false;
    if (!first)
        first = time;
    repeatUntil(time);
    AVFrame* const frame = failed ? nullptr : encoder->frame();
    failed = !frame || !convertPicture(picture, *frame);
    return encode(ticksSinceFirst(time));
}

bool LibavMovieFile::repeat(Duration time)
{
    if (!film || failed || accepted == 0)
        return false;
    repeatUntil(time);
    failed = failed || !encoder->frame();
    return encode(ticksSinceFirst(time));
}

/// So that no frame is longer than the longest.
void LibavMovieFile::repeatUntil(Duration time)
{
    while (!failed && accepted > 0 && ticksSinceFirst(time) - last > longestFrame) {
        failed = !encoder->frame();
        encode(last + longestFrame);
    }
}

bool LibavMovieFile::encode(std::int64_t ticks)
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

std::int64_t LibavMovieFile::ticksSinceFirst(Duration time) const
{
    return filmTicks(time - *first);
}

bool LibavMovieFile::finish(Duration end)
{
    if (!film)
        return false;
    repeatUntil(end);
    bool const whole = (failed || encoder->drain(keep)) && film->packets() >= accepted;
    encoder.reset();
    if (film->packets() == 0) {
        cancel();
        return false;
    }
    GrownFilm const grown{.packets = film->packets(),
                          .keyPackets = film->keyPackets(),
                          .end = std::max(ticksSinceFirst(end), last + 1)};
    film->close();
    film.reset();
    auto const fill = [&](int target) { return rewriteFilm(place.file(), target, grown); };
    return place.replace(fill) && whole;
}

void LibavMovieFile::cancel()
{
    encoder.reset();
    film.reset();
    place.remove();
}

} // namespace zelvo
