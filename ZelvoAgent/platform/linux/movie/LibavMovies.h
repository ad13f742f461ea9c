#pragma once

#include "base/LockedBox.h"
#include "platform/MovieFile.h"
#include "platform/linux/movie/FilmEncoder.h"

#include <optional>
#include <utility>

namespace zelvo {

/// The encoder of libavcodec for a candidate. Throws MovieFailure.
std::unique_ptr<FilmEncoder> openLibavEncoder(EncoderCandidate const& candidate,
                                              MovieSettings const& settings);

/// Films by libavcodec and libavformat: with the first encoder that is present and fit, which is found out
/// once for each size, and again when it does not open any more. Making this object costs nothing.
class LibavMovies final : public MovieFiles {
public:
    LibavMovies() = default;
    /// Other encoders than libavcodec's.
    explicit LibavMovies(OpenEncoder open);

    std::unique_ptr<MovieFile> create(MovieSettings settings) override;

private:
    struct Chosen {
        std::pair<int, int> size;
        EncoderCandidate encoder;
    };

    std::unique_ptr<FilmEncoder> encoderFor(MovieSettings const& settings);

    OpenEncoder open = openLibavEncoder;
    LockedBox<std::optional<Chosen>> chosen;
};

} // namespace zelvo
