#pragma once

#include "platform/MovieFile.h"
#include "platform/linux/movie/FilmEncoder.h"
#include "platform/linux/movie/FilmPlace.h"
#include "platform/linux/movie/FilmTime.h"
#include "platform/linux/movie/GrowingFilm.h"

#include <cstdint>
#include <memory>
#include <optional>

namespace zelvo {

/// A film in the making by libavcodec and libavformat. While it grows it is a file of fragments, each frame
/// in it as soon as append() has returned: killed at any moment, or with the disk full, it plays up to there.
/// finish() rewrites it as a plain file with the index in front.
class LibavMovieFile final : public MovieFile {
public:
    /// Makes the file. Throws MovieFailure.
    LibavMovieFile(MovieSettings const& settings, std::unique_ptr<FilmEncoder> given);
    /// What is not finished stays as it is.
    ~LibavMovieFile() override;

    /// Every append is done when it returns, so always until one fails.
    bool isReadyForMoreData() const override { return !failed; }
    bool append(Picture const& picture, Duration time) override;
    bool repeat(Duration time) override;
    /// True when the file is a plain film on the disk: the index in front, in it every frame for which
    /// append() or repeat() said true, and as long as from the first frame to `end`. False when there was no
    /// room or no right to rewrite it, or somebody has moved or removed it: then what grew stays, playable.
    /// Without a frame the file goes and the answer is false. Takes as long as copying the film.
    bool finish(Duration end) override;
    void cancel() override;

private:
    void repeatUntil(Duration time);
    bool encode(std::int64_t ticks);
    std::int64_t ticksSinceFirst(Duration time) const;

    FilmPlace place;
    std::unique_ptr<FilmEncoder> encoder;
    FilmEncoder::Taker keep;
    std::optional<GrowingFilm> film; ///< nothing once it is closed
    std::optional<Duration> first;
    std::int64_t last = -shortestFrame; ///< film ticks
    std::int64_t accepted = 0;
    bool failed = false;
};

} // namespace zelvo
