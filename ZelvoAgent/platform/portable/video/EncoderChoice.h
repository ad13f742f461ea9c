#pragma once

#include <functional>
#include <optional>
#include <span>
#include <string>
#include <utility>
#include <vector>

namespace zelvo {

/// An encoder that may be usable.
struct EncoderCandidate {
    enum class Layout { i420, nv12 }; ///< its input format

    std::string codec;  ///< libavcodec's name
    std::string device; ///< the device file that it requires; empty for software
    Layout layout = Layout::i420;
    bool uploads = false; ///< takes pictures only in the device's memory
    std::vector<std::pair<std::string, std::string>> options = {};
};

/// All supported encoders, the best first: hardware, then software that needs little processor time.
std::span<EncoderCandidate const> encoderCandidates();

/// Whether the candidate's device file exists. Costs one system call.
bool isPresent(EncoderCandidate const& candidate);

using EncoderQuestion = std::function<bool(EncoderCandidate const& candidate)>;

/// The first candidate that is present and fits; `fits` is called only for present ones, and not after the
/// choice.
std::optional<EncoderCandidate> chooseEncoder(std::span<EncoderCandidate const> candidates,
                                              EncoderQuestion const& present,
                                              EncoderQuestion const& fits);

} // namespace zelvo
