#pragma once

#include "recording/RecordingSettings.h"
#include "wire/AgentScope.h"

#include <optional>
#include <vector>

namespace zelvo {

/// What happens to a finished recording.
enum class RecordingShareDecision { keepLocal, ask, upload };

/// Decides whether a recording may be uploaded to the connection that caused it. That needs three things: the
/// mode, the connection's scope, and the person's yes for this connection.
namespace RecordingSharePolicy {

/// shareRecordings  the person's answer; absent if there is none yet
RecordingShareDecision
decision(RecordingMode mode, std::vector<AgentScope> const& scopes, std::optional<bool> shareRecordings);

} // namespace RecordingSharePolicy

} // namespace zelvo
