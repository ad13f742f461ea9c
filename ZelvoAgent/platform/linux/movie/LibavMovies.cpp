#include "platform/linux/movie/LibavMovies.h"

#include "platform/linux/movie/EncoderProbe.h"
#include "platform/linux/movie/Libav.h"
#include "platform/linux/movie/LibavEncoder.h"
#include "platform/linux/movie/LibavMovieFile.h"

namespace zelvo {

std::unique_ptr<FilmEncoder> openLibavEncoder(EncoderCandidate const& candidate,
                                              MovieSettings const& settings)
{
    return std::make_unique<LibavEncoder>(candidate, settings);
}

LibavMovies::LibavMovies(OpenEncoder open) : open(std::move(open)) {}

std::unique_ptr<MovieFile> LibavMovies::create(MovieSettings settings)
{
    if (settings.width < 2 || settings.height < 2 || settings.width % 2 || settings.height % 2)
        throw MovieFailure{"a film needs an even width and height"};
    libav(); // So that its absence is told as what it is.
    return std::make_unique<LibavMovieFile>(settings, encoderFor(settings));
}

std::unique_ptr<FilmEncoder> LibavMovies::encoderFor(MovieSettings const& settings)
{
    std::pair const size(settings.width, settings.height);
    if (auto const known = chosen.get(); known && known->size == size) {
        try {
            return open(known->encoder, settings);
        } catch (MovieFailure const&) { // Its device may have gone, or be in use by too many.
        }
    }
    auto const fits = [&](EncoderCandidate const& candidate) {
        return isFitEncoder(candidate, settings, open);
    };
    auto const found = chooseEncoder(encoderCandidates(), isPresent, fits);
    if (!found)
        throw MovieFailure{"there is no encoder for H.264 of the High profile"};
    chosen.set(Chosen{.size = size, .encoder = *found});
    return open(*found, settings);
}

} // namespace zelvo
