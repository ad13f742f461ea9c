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
    AVFrame* const frame = encoder->frame();
    failed = !frame || !convertPicture(picture, *frame);
    return encode(time);
}

bool LibavMovieFile::repeat(Duration time)
{
    if (!film || failed || !first)
        return false;
    failed = !encoder->frame();
    return encode(time);
}

bool LibavMovieFile::encode(Duration time)
{
    if (failed)
        return false;
    if (!first)
        first = time;
    std::int64_t const ticks = std::max(ticksSinceFirst(time), last + shortestFrame);
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
