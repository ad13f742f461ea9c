#pragma once

#include <functional>
#include <optional>
#include <span>
#include <string>
#include <utility>
#include <vector>

namespace zelvo {

/// An encoder that could make videos.
struct EncoderCandidate {
    enum class Layout { i420, nv12 }; ///< how it takes pictures

    std::string codec;  ///< as libavcodec calls it
    std::string device; ///< without this file it can't be there; empty for software
    Layout layout = Layout::i420;
    bool uploads = false; ///< takes pictures in the device's own memory only
    std::vector<std::pair<std::string, std::string>> options = {};
};

/// All that we know, the best first: hardware, then software that needs little of a processor.
std::span<EncoderCandidate const> encoderCandidates();

/// Whether the device file of a candidate is there. Costs one system call.
bool isPresent(EncoderCandidate const& candidate);

using EncoderQuestion = std::function<bool(EncoderCandidate const& candidate)>;

/// The first candidate that is both; `fits` is asked only of those that are present, and of none after the
/// one that is chosen.
std::optional<EncoderCandidate> chooseEncoder(std::span<EncoderCandidate const> candidates,
                                              EncoderQuestion const& present,
                                              EncoderQuestion const& fits);

} // namespace zelvo
