#include "recording/RecordingUploadOutcome.h"

#include "base/LocalizedTexts.h"
#include "base/Text.h"

#include <array>
#include <utility>

namespace zelvo {

namespace {

constexpr std::string_view noStorage = "recordings_unavailable";
constexpr std::size_t maxReasonBytes = 2000;
constexpr std::size_t maxReasonLength = 200; // characters

/// True for statuses that a retry would get again.
constexpr bool isFinal(int status)
{
    switch (status) {
    case 400:
    case 401:
    case 403:
    case 404:
    case 409:
    case 413:
        return true;
    default:
        return false;
    }
}

} // namespace

RecordingUploadOutcome RecordingUploadOutcome::classify(int status, std::optional<std::string> const& code)
{
    if (status >= 200 && status <= 299)
        return done();
    if (isFinal(status))
        return keepLocal(code.value_or("http_" + std::to_string(status)));
    if (status == 503 && code == noStorage)
        return keepLocal(*code);
    return retry();
}

std::string explain(std::string const& reason)
{
    if (reason == noStorage)
        return localized("recording.reason.noStorage");
    if (reason == "recording_not_shared")
        return localized("recording.reason.notShared");
    if (reason == "scope_denied")
        return localized("recording.reason.noScope");
    if (reason == "file_missing")
        return localized("recording.reason.fileMissing");
    // The server's text may be of any length and invalid.
    return text::shownInLine(text::repaired(reason.substr(0, maxReasonBytes)), maxReasonLength);
}

} // namespace zelvo
