#pragma once

#include <optional>
#include <string>

namespace zelvo {

/// The outcome of one attempt to upload a recording.
struct RecordingUploadOutcome {
    enum class Kind {
        keepLocal, ///< final: a retry would fail in the same way
        done,
        retry,
        postponed, ///< nothing may be sent now; not a try
    };

    Kind kind = Kind::retry;
    std::string reason; ///< for `keepLocal`: the service's code, or one of ours
    bool operator==(RecordingUploadOutcome const&) const = default;

    static RecordingUploadOutcome keepLocal(std::string reason)
    {
        return {Kind::keepLocal, std::move(reason)};
    }
    static RecordingUploadOutcome done() { return {Kind::done, {}}; }
    static RecordingUploadOutcome retry() { return {Kind::retry, {}}; }
    static RecordingUploadOutcome postponed() { return {Kind::postponed, {}}; }

    /// The outcome for an answer of the service.
    /// status  0 if there was no answer
    /// code    the service's error code
    static RecordingUploadOutcome classify(int status, std::optional<std::string> const& code);
};

/// Describes the reason of a `keepLocal` in the person's language.
std::string explain(std::string const& reason);

} // namespace zelvo
