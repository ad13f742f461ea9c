#include "recording/RecordingSharePolicy.h"

#include <algorithm>

namespace zelvo {

RecordingShareDecision RecordingSharePolicy::decision(RecordingMode mode,
                                                      std::vector<AgentScope> const& scopes,
                                                      std::optional<bool> shareRecordings)
{
    if (mode != RecordingMode::share || std::ranges::find(scopes, AgentScope::record) == scopes.end())
        return RecordingShareDecision::keepLocal;
    if (!shareRecordings)
        return RecordingShareDecision::ask;
    return *shareRecordings ? RecordingShareDecision::upload : RecordingShareDecision::keepLocal;
}

} // namespace zelvo
