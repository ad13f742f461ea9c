#include "platform/portable/video/LibavVideoFiles.h"

#include "platform/portable/video/EncoderProbe.h"
#include "platform/portable/video/Libav.h"
#include "platform/portable/video/LibavEncoder.h"
#include "platform/portable/video/LibavVideoFile.h"

namespace zelvo {

std::unique_ptr<VideoEncoder> openLibavEncoder(EncoderCandidate const& candidate,
                                               VideoSettings const& settings)
{
    return std::make_unique<LibavEncoder>(candidate, settings);
}

LibavVideoFiles::LibavVideoFiles(OpenEncoder open) : open(std::move(open)) {}

std::unique_ptr<VideoFile> LibavVideoFiles::create(VideoSettings settings)
{
    if (settings.width < 2 || settings.height < 2 || settings.width % 2 || settings.height % 2)
        throw VideoFailure{"a video needs an even width and height"};
    libav(); // Reports missing libraries as such.
    return std::make_unique<LibavVideoFile>(settings, encoderFor(settings));
}

std::unique_ptr<VideoEncoder> LibavVideoFiles::encoderFor(VideoSettings const& settings)
{
    std::pair const size(settings.width, settings.height);
    if (auto const known = chosen.get(); known && known->size == size) {
        try {
            return open(known->encoder, settings);
        } catch (VideoFailure const&) { // The device may be gone or in use.
        }
    }
    auto const fits = [&](EncoderCandidate const& candidate) {
        return isFitEncoder(candidate, settings, open);
    };
    auto const found = chooseEncoder(encoderCandidates(), isPresent, fits);
    if (!found)
        throw VideoFailure{"there is no encoder for H.264 of the High profile"};
    chosen.set(Chosen{.size = size, .encoder = *found});
    return open(*found, settings);
}

} // namespace zelvo
