#pragma once

#include "recording/RecordingSettings.h"
#include "wire/AgentScope.h"

#include <optional>
#include <vector>

namespace zelvo {

/// What becomes of a finished recording.
enum class RecordingShareDecision { keepLocal, ask, upload };

/// Whether a recording may go to the connection that caused it. Three things must line up: the mode, the
/// connection's scope, and the person's yes for this connection.
namespace RecordingSharePolicy {

/// shareRecordings  the person's answer; empty when there is none yet
RecordingShareDecision
decision(RecordingMode mode, std::vector<AgentScope> const& scopes, std::optional<bool> shareRecordings);

} // namespace RecordingSharePolicy

} // namespace zelvo
