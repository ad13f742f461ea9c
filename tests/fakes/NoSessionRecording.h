#pragma once

#include "recording/SessionRecording.h"

namespace zelvo {

/// Records nothing, for tests of other parts.
class NoSessionRecording final : public SessionRecording {
public:
    Task<> agentActed(std::optional<std::string>, std::string) override { co_return; }
    Task<> agentLooked() override { co_return; }
    bool hasOpenFile() const override { return false; }
    Task<> finishNow(bool) override { co_return; }
    Task<> untilClosed() override { co_return; }
};

} // namespace zelvo
