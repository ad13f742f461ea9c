#pragma once

#include <optional>
#include <string>

namespace zelvo {

/// How one try to hand over a recording ended.
struct RecordingUploadOutcome {
    enum class Kind {
        keepLocal, ///< another try would end alike
        done,
        retry,
    };

    Kind kind = Kind::retry;
    std::string reason; ///< of keepLocal: the service's code, or one of ours
    bool operator==(RecordingUploadOutcome const&) const = default;

    static RecordingUploadOutcome keepLocal(std::string reason)
    {
        return {Kind::keepLocal, std::move(reason)};
    }
    static RecordingUploadOutcome done() { return {Kind::done, {}}; }
    static RecordingUploadOutcome retry() { return {Kind::retry, {}}; }

    /// What an answer of the service means.
    /// status  0 when there was no answer
    /// code    the service's own word for the failure
    static RecordingUploadOutcome classify(int status, std::optional<std::string> const& code);
};

/// The reason of a keepLocal in words for the person.
std::string explain(std::string const& reason);

} // namespace zelvo
