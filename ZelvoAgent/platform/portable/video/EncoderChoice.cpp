#include "platform/portable/video/EncoderChoice.h"

#include <unistd.h>

namespace zelvo {

namespace {

constexpr char const* renderer = "/dev/dri/renderD128";

std::vector<EncoderCandidate> const& known()
{
    using Layout = EncoderCandidate::Layout;
    // Each returns a frame as soon as it has one: what an encoder buffers is lost if we are killed.
    static std::vector<EncoderCandidate> const all = {
        {.codec = "h264_nvenc",
         .device = "/dev/nvidiactl",
         .layout = Layout::nv12,
         .options = {{"preset", "p3"},
                     {"profile", "high"},
                     {"rc", "vbr"},
                     {"no-scenecut", "1"},
                     {"zerolatency", "1"},
                     {"delay", "0"}}},
        {.codec = "h264_qsv",
         .device = renderer,
         .layout = Layout::nv12,
         .options = {{"preset", "veryfast"},
                     {"profile", "high"},
                     {"async_depth", "1"},
                     {"look_ahead", "0"},
                     {"adaptive_i", "0"},
                     {"adaptive_b", "0"}}},
        {.codec = "h264_vaapi",
         .device = renderer,
         .layout = Layout::nv12,
         .uploads = true,
         .options = {{"profile", "high"}, {"rc_mode", "VBR"}, {"async_depth", "1"}}},
        // The fastest preset that still has High profile. With variable frame times it would wait for the
        // next frame to learn a frame's length.
        {.codec = "libx264",
         .options = {{"preset", "superfast"},
                     {"profile", "high"},
                     {"x264-params", "scenecut=0:rc-lookahead=0:sync-lookahead=0:force-cfr=1"}}},
    };
    return all;
}

} // namespace

std::span<EncoderCandidate const> encoderCandidates()
{
    return known();
}

bool isPresent(EncoderCandidate const& candidate)
{
    return candidate.device.empty() || ::access(candidate.device.c_str(), R_OK | W_OK) == 0;
}

std::optional<EncoderCandidate> chooseEncoder(std::span<EncoderCandidate const> candidates,
                                              EncoderQuestion const& present,
                                              EncoderQuestion const& fits)
{
    for (EncoderCandidate const& candidate : candidates)
        if (present(candidate) && fits(candidate))
            return candidate;
    return std::nullopt;
}

} // namespace zelvo
